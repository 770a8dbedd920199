#include "Confinement.h"

#include <seccomp.h>
#include <sys/capability.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

namespace velmora::provider {
namespace {

[[noreturn]] void fail(const std::string& step, int error) {
    throw std::runtime_error("Cannot confine the voice provider (" + step + "): " + std::strerror(error));
}

void dropBoundingSet() {
    for (cap_value_t capability = 0; capability < static_cast<cap_value_t>(cap_max_bits()); ++capability) {
        // Only a process holding CAP_SETPCAP may shrink the set; without it the set is
        // already out of reach, since nothing can be gained through exec (no-new-privileges).
        if (cap_drop_bound(capability) != 0 && errno != EPERM && errno != EINVAL) fail("bounding set", errno);
    }
}

void dropCapabilities() {
    std::unique_ptr<_cap_struct, int (*)(void*)> none(cap_init(), cap_free);
    if (!none) fail("capabilities", errno);
    if (cap_set_proc(none.get()) != 0) fail("capabilities", errno);
    if (CAP_AMBIENT_SUPPORTED() && cap_reset_ambient() != 0) fail("ambient capabilities", errno);
}

void refuseInternetSockets() {
    std::unique_ptr<void, void (*)(scmp_filter_ctx)> filter(seccomp_init(SCMP_ACT_ALLOW), seccomp_release);
    if (!filter) fail("socket filter", ENOMEM);
    for (const int family : {AF_INET, AF_INET6}) {
        const int status = seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(EACCES), SCMP_SYS(socket), 1,
                                            SCMP_A0(SCMP_CMP_EQ, static_cast<scmp_datum_t>(family)));
        if (status != 0) fail("socket filter", -status);
    }
    if (const int status = seccomp_load(filter.get()); status != 0) fail("socket filter", -status);
}

}  // namespace

void confineProcess() {
    dropBoundingSet();
    dropCapabilities();
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) fail("no-new-privileges", errno);
    refuseInternetSockets();
}

}  // namespace velmora::provider
