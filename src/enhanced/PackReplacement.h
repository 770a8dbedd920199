#pragma once

#include <filesystem>

namespace velmora {

// Puts the folder `replacement` at `target`, where an installed pack may already be. The new
// pack is in place before the old one is given up: when something is at `target`, the two are
// exchanged in one step, so the old pack ends up at `replacement`'s path (for the caller to
// delete) and the voice is never missing. On a file system that cannot exchange, the old pack
// is moved to `aside` first and put back when the new one cannot be moved in. Throws
// filesystem_error; on failure `target` holds what it held before.
void replacePack(const std::filesystem::path& replacement, const std::filesystem::path& target,
                 const std::filesystem::path& aside);

// Renames `from` to `to` unless something already exists at `to` (then EEXIST).
void renameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace velmora
