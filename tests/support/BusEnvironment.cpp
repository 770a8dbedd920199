#include "support/BusEnvironment.h"

#include <sdbus-c++/sdbus-c++.h>
#include <stdlib.h>

namespace velmora::test {

void shareWithActivatedServices(const std::map<std::string, std::string>& variables) {
    for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
    auto connection = sdbus::createSessionBusConnection();
    sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus")
        ->callMethod("UpdateActivationEnvironment")
        .onInterface("org.freedesktop.DBus")
        .withArguments(variables);
}

}  // namespace velmora::test
