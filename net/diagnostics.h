// Two looks at the connection of the current target record.
#pragma once

#include "lib/desktop.h"
#include "sync/context.h"

namespace zelkor::net {

// Whether the other computer answers, or the server takes a file; a medium is opened in the file manager. A box says
// what came out.
void TestConnection(sync::Context& context);
// Shows what stands in the target's directory on its FTP server.
void ShowFtpDirectory(sync::Context& context, lib::Desktop& desktop);

}  // namespace zelkor::net
