#pragma once

#include <filesystem>

#include "LoopbackServer.h"

namespace velmora::test {

// A self-signed certificate authority for 127.0.0.1 (P-256, SHA-256), written as PEM files
// into `folder`.
TlsIdentity makeSelfSignedIdentity(const std::filesystem::path& folder);

}  // namespace velmora::test
