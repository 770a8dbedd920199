#include "store/ContainerStatus.h"

namespace velmora {
namespace {

std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
    std::string result;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) result += separator;
        result += parts[i];
    }
    return result;
}

struct Explain {
    std::optional<std::string> operator()(const ContainerStatus::Ready&) const { return std::nullopt; }
    std::optional<std::string> operator()(const ContainerStatus::NoContainer& status) const {
        return "The app is entitled to " + joined(status.entitled, ", ") + " but the " +
               "system gave it no folder for it, so there is nowhere both the app and " +
               "the voice extension can read. Reinstalling the app usually restores it.";
    }
    std::optional<std::string> operator()(const ContainerStatus::NotEntitled&) const {
        return "This copy of the app was signed without the App Group entitlement, so the app and the voice "
               "extension have no folder in common and downloaded voices cannot reach the speech system. "
               "Re-signing tools drop that entitlement when the signing account cannot create App Groups. "
               "Install a build signed by an account that can, and the downloads will work.";
    }
};

struct CaseName {
    std::string operator()(const ContainerStatus::Ready&) const { return "ready"; }
    std::string operator()(const ContainerStatus::NoContainer&) const { return "noContainer"; }
    std::string operator()(const ContainerStatus::NotEntitled&) const { return "notEntitled"; }
};

}  // namespace

std::string ContainerStatus::caseName() const { return std::visit(CaseName{}, value_); }

std::optional<std::string> ContainerStatus::explanation() const { return std::visit(Explain{}, value_); }

}  // namespace velmora
