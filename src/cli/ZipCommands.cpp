// unzip: unpack an archive with the program's own zip reader, as the installer does.
#include <iostream>
#include <memory>

#include "cli/Commands.h"
#include "zip/MappedFile.h"
#include "zip/ZipReader.h"

namespace velmora::cli {

void addZipCommands(CLI::App& app) {
    auto* unzip = app.add_subcommand(
        "unzip", "Unpack a zip archive into a folder, verifying every entry, and list the files written");
    auto archive = std::make_shared<std::string>();
    auto folder = std::make_shared<std::string>();
    unzip->add_option("archive", *archive, "The zip archive")->required();
    unzip->add_option("folder", *folder, "The folder to unpack into (created when missing)")->required();
    unzip->callback([archive, folder] {
        const auto file = MappedFile::open(*archive);
        for (const auto& name : ZipReader::unpack(file.bytes(), *folder)) std::cout << name << '\n';
    });
}

}  // namespace velmora::cli
