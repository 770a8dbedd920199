#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmora::zip {

// Whether an entry name stays below the folder it is unpacked into: not empty, not absolute, no
// ".." component, no NUL byte, and a file name that names a file ("a/." does not).
bool isSafeEntryName(std::string_view name);

// The "/"-separated components of a name, without empty and "." ones.
std::vector<std::string> nameComponents(std::string_view name);

// The file a safe name writes, as the file system resolves it: "a/./b" and "a//b" are "a/b".
std::string fileKey(std::string_view name);

}  // namespace velmora::zip
