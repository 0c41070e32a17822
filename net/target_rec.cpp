#include "net/target_rec.h"

#include "lib/code_page.h"

namespace zelkor::net {

std::string TargetRec::Id() const { return lib::Lower(Text(kComputerId)); }

}  // namespace zelkor::net
