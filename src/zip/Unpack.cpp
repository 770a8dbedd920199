#include "zip/DestinationTree.h"
#include "zip/EntryName.h"
#include "zip/EntryWriter.h"
#include "zip/ZipReader.h"

namespace velmora {

std::vector<std::string> ZipReader::unpack(std::span<const std::byte> archive,
                                           const std::filesystem::path& into,
                                           const std::function<void(const std::string& name)>& writing) {
    const auto list = entries(archive);
    // A single hostile name refuses the whole archive before anything is written.
    for (const auto& entry : list) {
        if (!zip::isSafeEntryName(entry.name)) throw Failure::unsafeName(entry.name);
    }
    zip::DestinationTree destination(into);
    std::vector<std::string> written;
    for (const auto& entry : list) {
        // Directory entries create nothing; the files below them create their folders.
        if (entry.name.ends_with('/')) continue;
        if (writing) writing(entry.name);
        const auto parent = destination.makeParentOf(entry.name);
        const auto entryBody = body(entry, archive);
        auto file = destination.createFile(parent, entry.name);
        zip::writeEntryBody(entry, entryBody, file);
        written.push_back(entry.name);
    }
    return written;
}

}  // namespace velmora
