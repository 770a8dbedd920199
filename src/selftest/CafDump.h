#pragma once

#include <filesystem>
#include <memory>

#include "speech/SpeechTypes.h"

struct sf_private_tag;

namespace velmora {

// A Core Audio Format file of 32-bit float samples that a render is written into, in the
// format of its first buffer. The file is complete and closed when the object is destroyed.
class CafDump {
public:
    // Creates (or truncates) the file for buffers shaped like `first`; empty when the file
    // cannot be created or the format cannot be stored.
    static std::unique_ptr<CafDump> create(const std::filesystem::path& file, const PcmBuffer& first);
    ~CafDump();
    CafDump(const CafDump&) = delete;
    CafDump& operator=(const CafDump&) = delete;

    // Appends every frame of the buffer, all channels. A buffer in another format than the
    // file's is not written; neither case is an error for the render, so nothing is reported.
    void append(const PcmBuffer& buffer);

private:
    CafDump(sf_private_tag* file, int channels, int sampleRate);

    sf_private_tag* file_;
    int channels_;
    int sampleRate_;
};

}  // namespace velmora
