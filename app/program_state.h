// Everything that lives for the whole run.
#pragma once

#include <string>

#include "app/quick_search.h"
#include "db/catalogue.h"
#include "db/database.h"
#include "db/remap.h"
#include "lib/list_rows.h"
#include "lib/user.h"
#include "net/link.h"
#include "net/messages.h"
#include "net/targets.h"
#include "sync/context.h"
#include "sync/sync_log.h"

namespace zelkor::app {

// Built by `main`, handed to whoever needs a part of it.
struct ProgramState {
  // `programDir` ends in a backslash; `rows` are the main list's.
  ProgramState(lib::User& user, lib::ListRows& rows, const std::string& programDir)
      : user(user),
        ProgramDir(programDir),
        database(programDir, user),
        catalogue(database, rows, user),
        targets(database, user),
        log(programDir, user),
        link(user, catalogue.Occupied(), net::RealLinkMeans(programDir, user)),
        synchronisation{.catalogue = catalogue,
                        .targets = targets,
                        .remap = remap,
                        .log = log,
                        .user = user,
                        .computerId = computerId,
                        .link = &link} {}

  lib::User& user;
  const std::string ProgramDir;
  std::string computerId;
  db::Database database;
  db::RemapTable remap;
  db::Catalogue catalogue;
  net::Targets targets;
  sync::SyncLog log;
  net::Link link;
  sync::Context synchronisation;
  net::Messages messages{synchronisation};  // what windows do around them is set once there are windows
  QuickSearchState quickSearch;
  bool trayFlag = false;  // the program sits in the system tray
};

}  // namespace zelkor::app
