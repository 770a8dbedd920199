// status, packs, remove, remove-all, dictionaries: the voice store from the command line.
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/CommandError.h"
#include "cli/Commands.h"
#include "cli/JsonOutput.h"
#include "cli/VoiceIdArgument.h"
#include "store/ByteCount.h"
#include "store/VoiceId.h"
#include "store/VoiceStore.h"

namespace velmora::cli {
namespace {

void printStatus() {
    const ContainerStatus status = VoiceStore::containerStatus();
    std::cout << "status: " << status.caseName() << '\n';
    if (auto explanation = status.explanation()) std::cout << *explanation << '\n';
    if (const auto& group = VoiceStore::group()) {
        std::cout << "group: " << group->id << '\n';
        std::cout << "container: " << group->url.string() << '\n';
    }
    if (auto voices = VoiceStore::root(false)) std::cout << "voices: " << voices->string() << '\n';
}

nlohmann::json packJson(const InstalledVoice& voice) {
    return {{"release", voice.release.name},
            {"label", voice.release.label},
            {"locale", voice.locale},
            {"name", voice.name},
            {"directory", voice.directory.string()},
            {"sizeInBytes", voice.sizeInBytes}};
}

void printPacks(bool asJson) {
    const auto packs = VoiceStore::installed();
    if (asJson) {
        printJsonArray(packs, packJson);
        return;
    }
    if (packs.empty()) std::cout << "No voice packs installed.\n";
    for (const auto& voice : packs) {
        std::cout << voice.release.name << '/' << voice.locale << '\t' << voice.name << '\t'
                  << formatByteCount(voice.sizeInBytes) << '\n';
    }
}

void requireContainer() {
    const ContainerStatus status = VoiceStore::containerStatus();
    if (auto explanation = status.explanation()) throw CommandError(*explanation);
}

}  // namespace

void addStoreCommands(CLI::App& app) {
    app.add_subcommand("status", "Show whether the folder shared with the voice extension is available")
        ->callback(printStatus);

    auto* packs = app.add_subcommand("packs", "List the voice packs installed in the shared folder");
    auto packsAsJson = std::make_shared<bool>(false);
    packs->add_flag("--json", *packsAsJson, "Print the list as JSON");
    packs->callback([packsAsJson] { printPacks(*packsAsJson); });

    auto* remove = app.add_subcommand("remove", "Remove one installed voice pack");
    auto voice = std::make_shared<std::string>();
    remove->add_option("voice", *voice, "The pack, as RELEASE/LOCALE (for example ios6/en-US)")->required();
    remove->callback([voice] {
        const VoiceId id = requireVoiceId(*voice, VoiceRelease::all());
        requireContainer();
        VoiceStore::remove(id.release, id.locale);
        std::cout << "Removed " << id.text() << ".\n";
    });

    app.add_subcommand("remove-all", "Remove every installed voice pack")->callback([] {
        requireContainer();
        VoiceStore::removeAll();
        std::cout << "Removed all voice packs.\n";
    });

    app.add_subcommand("dictionaries", "Copy missing dictionaries from the compact data into installed packs")
        ->callback([] {
            const int added = VoiceStore::addMissingDictionaries();
            std::cout << "Added " << added << (added == 1 ? " dictionary file.\n" : " dictionary files.\n");
        });
}

}  // namespace velmora::cli
