#pragma once

#include <map>
#include <string>

namespace velmora::test {

// Sets `variables` in this process and in the session bus's activation environment, so that a
// provider the bus starts on demand sees the same folders as the test.
void shareWithActivatedServices(const std::map<std::string, std::string>& variables);

}  // namespace velmora::test
