#pragma once

namespace velmora::provider {

// Confines the running process for good, before it reads any voice data:
//  - drops every capability (effective, permitted, inheritable, ambient and the bounding set),
//    so file permissions hold even for root: a header at mode 0 is unreadable to it;
//  - sets no-new-privileges, so no program it could run regains any;
//  - refuses internet sockets (AF_INET, AF_INET6) with EACCES; local sockets, which the
//    session bus needs, keep working.
// Throws std::runtime_error naming the step that failed.
void confineProcess();

}  // namespace velmora::provider
