#pragma once

#include <string>
#include <sys/types.h>

// The home folder of a user, for the folders that are the user's own
// (settings, logs, the private folder of the channel).
namespace UserHome {

// The home folder of uid in the user database; "" when it has none that is
// an absolute path other than "/".
std::string Of(uid_t uid);

// This process's home: $HOME when it is an absolute path, else that of the
// effective user in the user database; "" when neither is known.
std::string Current();

} // namespace UserHome
