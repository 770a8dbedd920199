#include "speech/ProviderControl.h"

#include <sdbus-c++/sdbus-c++.h>

#include "speech/SpielBus.h"
#include "speech/TestProviderVoices.h"

namespace velmora::test {
namespace {

std::unique_ptr<sdbus::IProxy> control(const std::string& busName) {
    return sdbus::createProxy(sdbus::createSessionBusConnection(), busName, SpielBus::objectPath(busName));
}

}  // namespace

ProviderRequest lastRequest(const std::string& busName) {
    sdbus::Struct<std::string, std::string, double, double, bool, std::string> fields;
    control(busName)->callMethod("LastRequest").onInterface(controlInterface).storeResultsTo(fields);
    return fields;
}

ProviderTiming lastTiming(const std::string& busName) {
    sdbus::Struct<std::uint64_t, std::uint64_t> fields;
    control(busName)->callMethod("LastTiming").onInterface(controlInterface).storeResultsTo(fields);
    return {std::get<0>(fields), std::get<1>(fields)};
}

void addVoice(const std::string& busName, const std::string& name, const std::string& identifier,
              const std::string& format, const std::vector<std::string>& languages) {
    control(busName)
        ->callMethod("AddVoice")
        .onInterface(controlInterface)
        .withArguments(name, identifier, format, languages);
}

}  // namespace velmora::test
