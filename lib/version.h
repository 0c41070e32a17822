// The versions that Zelkor writes, each as major * 100 + minor.
#pragma once

namespace zelkor::lib {

inline constexpr int kProgramVersion = 223;   // this program: 2.23; block headers of sync files carry it
inline constexpr int kDatabaseVersion = 220;  // the format of the configuration record and the item file

}  // namespace zelkor::lib
