// The enhanced self test up to the comparison renders: container, dictionaries, catalog, the
// subject and its install, the pack on disk and in the system's voice list; and the removals.
#include "selftest/EnhancedSelfTest.h"

#include <algorithm>
#include <chrono>
#include <map>

#include "selftest/EnhancedComparison.h"
#include "selftest/EnhancedSelfTestOptions.h"
#include "store/VoiceStore.h"

namespace velmora {
namespace {

constexpr double bytesPerMegabyte = 1'000'000;

double megabytes(std::int64_t bytes) { return static_cast<double>(bytes) / bytesPerMegabyte; }

std::string packName(const VoiceRelease& release, const std::string& locale) {
    return release.name + "/" + locale;
}

std::optional<InstalledVoice> installedPack(const VoiceRelease& release, const std::string& locale) {
    for (auto& pack : VoiceStore::installed()) {
        if (pack.release == release && pack.locale == locale) return pack;
    }
    return std::nullopt;
}

// Prints the container line; false when there is none.
bool checkContainer(const LineSink& print) {
    const ContainerStatus status = VoiceStore::containerStatus();
    if (const auto* ready = std::get_if<ContainerStatus::Ready>(&status.value())) {
        print("ENHANCED container " + ready->folder.string());
        return true;
    }
    print("ENHANCED FAIL no shared container: " + status.explanation().value_or("reason unknown"));
    return false;
}

void checkDictionaries(const LineSink& print) {
    const auto packs = VoiceStore::installed();
    std::vector<std::string> shortPacks;
    for (const auto& pack : packs) {
        if (!VoiceStore::missingDictionaries(pack.release, pack.locale).empty())
            shortPacks.push_back(packName(pack.release, pack.locale));
    }
    if (shortPacks.empty()) {
        print("ENHANCED PASS dictionaries: all " + std::to_string(packs.size()) +
              " installed packs carry everything their compact voice has");
    } else {
        print("ENHANCED FAIL dictionaries: " + std::to_string(shortPacks.size()) + " of " +
              std::to_string(packs.size()) + " packs are short — " + joined(shortPacks, ", "));
    }
}

// The catalog's voices, with the catalog line; absent, after its FAIL line, when it failed.
std::optional<std::vector<EnhancedVoice>> fetchCatalog(const EnhancedSelfTestServices& services) {
    std::vector<EnhancedVoice> voices;
    try {
        voices = services.fetchCatalog();
    } catch (const std::exception& error) {
        services.speech.print(std::string("ENHANCED FAIL catalog: ") + error.what());
        return std::nullopt;
    }
    std::map<std::string, int> perRelease;
    for (const auto& voice : voices) ++perRelease[voice.release.name];
    std::vector<std::string> groups;
    for (const auto& [release, count] : perRelease) groups.push_back(release + ": " + std::to_string(count));
    services.speech.print("ENHANCED PASS catalog: " + std::to_string(voices.size()) + " voices (" +
                          joined(groups, ", ") + ")");
    return voices;
}

// The candidate with the smallest download, the first in catalog order among equals.
std::optional<EnhancedVoice> chooseSubject(const std::vector<EnhancedVoice>& catalog,
                                           const std::optional<std::string>& wanted) {
    std::vector<EnhancedVoice> candidates;
    std::ranges::copy_if(catalog, std::back_inserter(candidates),
                         [&](const EnhancedVoice& voice) { return !wanted || voice.id() == *wanted; });
    if (candidates.empty()) return std::nullopt;
    return *std::ranges::min_element(candidates, {}, &EnhancedVoice::downloadSize);
}

void removeAll(const LineSink& print) {
    const std::size_t before = VoiceStore::installed().size();
    try {
        VoiceStore::removeAll();
    } catch (const std::exception& error) {
        print(std::string("ENHANCED FAIL delete all: ") + error.what());
        return;
    }
    const std::size_t left = VoiceStore::installed().size();
    if (left > 0) {
        print("ENHANCED FAIL delete all: " + std::to_string(left) + " of " + std::to_string(before) +
              " packs are still installed");
    } else {
        print("ENHANCED PASS delete all: removed " + std::to_string(before) + " packs, none left");
    }
}

// Installs the subject unless it is there already; false, after its FAIL line, when that failed.
bool install(const EnhancedSelfTestServices& services, const EnhancedVoice& subject) {
    const auto& print = services.speech.print;
    if (VoiceStore::isInstalled(subject.release, subject.locale)) {
        print("ENHANCED already installed, skipping the download");
        return true;
    }
    const auto started = std::chrono::steady_clock::now();
    std::int64_t size = 0;
    try {
        size = services.install(subject);
    } catch (const std::exception& error) {
        print(std::string("ENHANCED FAIL install: ") + error.what());
        return false;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
    print(formatted("ENHANCED PASS downloaded, verified and installed %.0f MB in %.0fs", megabytes(size),
                    elapsed.count()));
    return true;
}

void checkPronunciations(const LineSink& print, const InstalledVoice& pack) {
    std::vector<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator it(pack.directory, error), end; !error && it != end;
         it.increment(error)) {
        const std::string name = it->path().filename().string();
        if (name.find("userdct") != std::string::npos || name == "user_rules.txt") files.push_back(name);
    }
    if (error) files.clear();
    std::ranges::sort(files);
    const auto missing = VoiceStore::missingDictionaries(pack.release, pack.locale);
    if (!missing.empty() || files.empty()) {
        print("ENHANCED FAIL pronunciations: the pack is missing " + joined(missing, ", "));
    } else {
        print("ENHANCED PASS pronunciations: " + joined(files, ", ") + " in the pack");
    }
}

// The system's voice that speaks the pack; absent, after its FAIL line, when the system lists none.
std::optional<SpeechVoice> findSystemVoice(const SelfTestServices& speech, const InstalledVoice& pack) {
    const std::string suffix = "." + pack.release.name + "." + pack.locale + "." + pack.name;
    for (auto& voice : speech.speechVoices()) {
        if (!voice.identifier.ends_with(suffix)) continue;
        speech.print("ENHANCED PASS system lists it as " + voice.name);
        return voice;
    }
    speech.print("ENHANCED FAIL the system does not list " + pack.name + " (" + pack.release.label + ")");
    return std::nullopt;
}

void checkInstalledSubject(const EnhancedSelfTestServices& services, const EnhancedVoice& subject) {
    const auto& print = services.speech.print;
    if (!install(services, subject)) return;
    const auto pack = installedPack(subject.release, subject.locale);
    if (!pack) {
        print("ENHANCED FAIL the installed voice is not in the shared container");
        return;
    }
    print("ENHANCED PASS on disk as " + pack->name + ", " + pack->directory.filename().string() +
          formatted(", %.0f MB", megabytes(pack->sizeInBytes)));
    checkPronunciations(print, *pack);
    const auto voice = findSystemVoice(services.speech, *pack);
    if (voice) compareRenders(services, *pack, *voice);
}

}  // namespace

void EnhancedSelfTest::run(const std::vector<std::string>& arguments) {
    run(arguments, EnhancedSelfTestServices::system());
}

void EnhancedSelfTest::run(const std::vector<std::string>& arguments,
                           const EnhancedSelfTestServices& services) {
    const auto options = EnhancedSelfTestOptions::read(arguments);
    const auto& print = services.speech.print;
    recoverInterruptedRun();
    if (!checkContainer(print)) return;
    checkDictionaries(print);
    const auto catalog = fetchCatalog(services);
    if (!catalog) return;
    const auto subject = chooseSubject(*catalog, options.voice);
    if (!subject) {
        print("ENHANCED FAIL catalog held no voices");
        return;
    }
    print(formatted("ENHANCED subject %s %s (%.0f MB)", subject->release.label.c_str(),
                    subject->locale.c_str(), megabytes(subject->downloadSize)));
    if (options.removeAll) return removeAll(print);
    if (options.remove) return remove(*subject, print);
    checkInstalledSubject(services, *subject);
}

void EnhancedSelfTest::remove(const EnhancedVoice& voice, const LineSink& print) {
    const std::string name = packName(voice.release, voice.locale);
    if (!installedPack(voice.release, voice.locale)) {
        print("ENHANCED remove: " + name + " is not installed");
        return;
    }
    try {
        VoiceStore::remove(voice.release, voice.locale);
    } catch (const std::exception& error) {
        print(std::string("ENHANCED FAIL remove: ") + error.what());
        return;
    }
    if (VoiceStore::isInstalled(voice.release, voice.locale)) {
        print("ENHANCED FAIL the pack for " + name + " is still installed");
    } else {
        print("ENHANCED PASS removed " + name + "; the voice is back to its compact data");
    }
}

}  // namespace velmora
