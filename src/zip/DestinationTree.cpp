#include "zip/DestinationTree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/FileError.h"
#include "zip/EntryName.h"

namespace velmora::zip {
namespace {

constexpr int directoryFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

UniqueFd enterDirectory(const UniqueFd& parent, const std::string& component,
                        const std::filesystem::path& shown) {
    if (::mkdirat(parent.get(), component.c_str(), 0777) != 0 && errno != EEXIST) {
        throwFileError("cannot create directory", shown, errno);
    }
    UniqueFd directory(::openat(parent.get(), component.c_str(), directoryFlags | O_NOFOLLOW));
    if (directory.get() < 0) throwFileError("cannot open directory", shown, errno);
    return directory;
}

}  // namespace

const UniqueFd& DestinationTree::root() {
    if (!rootDescriptor_) {
        // The root is the caller's choice of folder: it is taken as given, links and all.
        std::filesystem::create_directories(root_);
        UniqueFd directory(::open(root_.c_str(), directoryFlags));
        if (directory.get() < 0) throwFileError("cannot open directory", root_, errno);
        rootDescriptor_.emplace(std::move(directory));
    }
    return *rootDescriptor_;
}

UniqueFd DestinationTree::makeParentOf(const std::string& name) {
    const auto components = nameComponents(name);
    UniqueFd current(::dup(root().get()));
    if (current.get() < 0) throwFileError("cannot open directory", root_, errno);
    std::filesystem::path shown = root_;
    for (std::size_t i = 0; i + 1 < components.size(); ++i) {
        shown /= components[i];
        current = enterDirectory(current, components[i], shown);
    }
    return current;
}

OutputFile DestinationTree::createFile(const UniqueFd& parent, const std::string& name) const {
    const auto components = nameComponents(name);
    return OutputFile::create(parent.get(), components.back(), root_ / name);
}

}  // namespace velmora::zip
