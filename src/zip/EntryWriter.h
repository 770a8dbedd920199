#pragma once

#include <cstddef>
#include <span>

#include "zip/OutputFile.h"
#include "zip/ZipReader.h"

namespace velmora::zip {

// Decodes an entry's body into `file`, keeping the CRC-32 and length of what was written, then
// verifies the length and, after it, the CRC-32 against the entry. A deflated entry that fails
// with the fast decoder is written again with the zlib reference, whose verdict stands.
void writeEntryBody(const ZipReader::Entry& entry, std::span<const std::byte> body, OutputFile& file);

}  // namespace velmora::zip
