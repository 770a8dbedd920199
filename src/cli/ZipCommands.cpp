// unzip: unpack an archive with the program's own zip reader, as the installer does.
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>

#include "cli/CommandError.h"
#include "cli/Commands.h"
#include "zip/MappedFile.h"
#include "zip/ZipReader.h"

namespace velmora::cli {
namespace {

// Lists the names written; a later entry that names the same file as an earlier one (the same
// decoded text, or the same path spelt another way) replaced it, which standard error tells.
void listWritten(const std::vector<std::string>& names) {
    std::set<std::string> files;
    for (const auto& name : names) {
        std::cout << name << '\n';
        if (!files.insert(std::filesystem::path(name).lexically_normal().string()).second)
            std::cerr << "velmora-cli: " << name << " replaced an earlier entry of the same name.\n";
    }
}

// A file-system failure keeps its own text, after the name of the entry being written.
void unpackListing(const std::string& archive, const std::string& folder) {
    const auto file = MappedFile::open(archive);
    std::string current;
    try {
        listWritten(
            ZipReader::unpack(file.bytes(), folder, [&current](const std::string& name) { current = name; }));
    } catch (const std::filesystem::filesystem_error& error) {
        throw CommandError(current.empty() ? error.what() : current + ": " + error.what());
    }
}

}  // namespace

void addZipCommands(CLI::App& app) {
    auto* unzip = app.add_subcommand(
        "unzip", "Unpack a zip archive into a folder, verifying every entry, and list the files written");
    auto archive = std::make_shared<std::string>();
    auto folder = std::make_shared<std::string>();
    unzip->add_option("archive", *archive, "The zip archive")->required();
    unzip->add_option("folder", *folder, "The folder to unpack into (created when missing)")->required();
    unzip->callback([archive, folder] { unpackListing(*archive, *folder); });
}

}  // namespace velmora::cli
