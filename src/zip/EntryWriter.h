#pragma once

#include <cstddef>
#include <span>

#include "zip/OutputFile.h"
#include "zip/ZipReader.h"

namespace velmora::zip {

class InputFeed;

// Decodes an entry's body into `file`, keeping the CRC-32 and length of what was written, then
// verifies the length and, after it, the CRC-32 against the entry. A deflated entry that fails
// with the fast decoder is written again with the zlib reference, whose verdict stands.
// Entries decoded at once: one per core, at most 8, each writer with its one output buffer
// (ZipReader::stepSize), so memory stays bounded however large the archive.
unsigned writerThreads();

void writeEntryBody(const ZipReader::Entry& entry, std::span<const std::byte> body, OutputFile& file);

// The same for a body that comes piece by piece as it arrives, decoded once with the fast
// decoder: its failure is final.
void writeArrivingEntryBody(const ZipReader::Entry& entry, InputFeed& body, OutputFile& file);

}  // namespace velmora::zip
