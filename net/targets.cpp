#include "net/targets.h"

#include <algorithm>
#include <cassert>

#include "db/config_rec.h"
#include "lib/code_page.h"
#include "lib/run_time_error.h"
#include "lib/text.h"

namespace zelkor::net {
namespace {

constexpr std::int64_t OffsetOf(int slot) {
  return static_cast<std::int64_t>(db::ConfigRec::kBytes) + (slot - 1) * static_cast<std::int64_t>(TargetRec::kBytes);
}
static_assert(OffsetOf(kTargetSlots + 1) == db::kConfigFileBytes);

void Require(const lib::Status& status) {
  if (!status.Ok()) lib::InputOutputError(status.Message());
}

// A slot that no target has ever been in: padding, or zero bytes. The flag's byte was reduced to a bit when it was
// read.
bool NeverUsed(const TargetRec& rec) {
  const auto bytes = rec.Bytes();
  const auto allAre = [&bytes](char value) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      if (i != TargetRec::kDefaultExclude.offset && bytes[i] != value) return false;
    }
    return true;
  };
  return allAre(' ') || allAre('\0');
}

}  // namespace

void Targets::ReadTarget(int slot, TargetRec& rec) {
  assert(slot >= 1 && slot <= kTargetSlots);
  lib::File& file = database_.ConfigFile();
  const lib::Result<std::int64_t> length = file.Length();
  if (!length.Ok()) lib::InputOutputError(length.Failure().Message());
  if (*length < db::kConfigFileBytes) {
    Require(file.WriteAt(*length, std::string(static_cast<std::size_t>(db::kConfigFileBytes - *length), ' ')));
  }
  const lib::Result<std::size_t> got = file.ReadAt(OffsetOf(slot), rec.Bytes());
  if (!got.Ok()) lib::InputOutputError(got.Failure().Message());
  if (*got != TargetRec::kBytes) lib::InputOutputError(file.Path() + " has become shorter while it was in use");
  // The blank of a slot that was never written must read as "not excluded".
  rec.SetNumber(TargetRec::kDefaultExclude, rec.Number(TargetRec::kDefaultExclude) & 1);
}

void Targets::WriteTarget(int slot, const TargetRec& rec) {
  assert(slot >= 1 && slot <= kTargetSlots);
  Require(database_.ConfigFile().WriteAt(OffsetOf(slot), rec.Bytes()));
}

int Targets::FindTarget(std::string_view id, bool showError) {
  const std::string wanted = lib::Lower(id);
  for (int slot = 1; slot <= kTargetSlots; ++slot) {
    ReadTarget(slot, current_);
    // No ID at all is what a free slot has; it names no target.
    if (!wanted.empty() && current_.Id() == wanted) return slot;
  }
  if (showError) {
    user_.Message("Can not find target [" + std::string(id) + "] in database!", lib::Icon::Critical);
  }
  return 0;
}

bool Targets::NewTarget(std::string_view id) {
  for (int slot = 1; slot <= kTargetSlots; ++slot) {
    ReadTarget(slot, current_);
    if (!current_.Id().empty()) continue;
    if (NeverUsed(current_)) {
      // Two blanks read as a number are no connection type.
      current_.SetNumber(TargetRec::kConnectionType, static_cast<std::int32_t>(ConnectionType::File));
      current_.SetNumber(TargetRec::kDefaultExclude, 0);
    }
    // What else the slot holds stays, on purpose: the connection of the target last deleted from it.
    current_.SetText(TargetRec::kComputerId, id);
    current_.SetDate(TargetRec::kLastImport, 0);
    current_.SetDate(TargetRec::kLastExport, 0);
    current_.SetText(TargetRec::kMediaPath, "a:\\");
    WriteTarget(slot, current_);
    return true;
  }
  user_.Message("Sync list is full!", lib::Icon::Critical);
  return false;
}

void Targets::DeleteTarget(int slot) {
  ReadTarget(slot, current_);
  current_.SetText(TargetRec::kComputerId, {});
  WriteTarget(slot, current_);
}

void Targets::SetTargetDates(std::string_view id, lib::Date importDate, lib::Date exportDate) {
  const std::string wanted = lib::Lower(id);
  if (wanted.empty()) return;
  for (int slot = 1; slot <= kTargetSlots; ++slot) {
    ReadTarget(slot, current_);
    // Here the stored ID is not cut at a NUL.
    if (lib::Lower(lib::Trim(current_.RawText(TargetRec::kComputerId))) != wanted) continue;
    if (importDate != 0) current_.SetDate(TargetRec::kLastImport, importDate);
    if (exportDate != 0) current_.SetDate(TargetRec::kLastExport, exportDate);
    WriteTarget(slot, current_);
    return;
  }
}

void Targets::ClearTargetDates(int slot) {
  ReadTarget(slot, current_);
  current_.SetDate(TargetRec::kLastImport, 0);
  current_.SetDate(TargetRec::kLastExport, 0);
  WriteTarget(slot, current_);
}

std::vector<std::string> Targets::TargetIds() {
  std::vector<std::string> ids;
  TargetRec rec;
  for (int slot = 1; slot <= kTargetSlots; ++slot) {
    ReadTarget(slot, rec);
    if (std::string id = rec.Id(); !id.empty()) ids.push_back(std::move(id));
  }
  return ids;
}

}  // namespace zelkor::net
