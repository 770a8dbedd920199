#pragma once

#include <atomic>
#include <string>

#include "enhanced/Fixtures.h"
#include "support/Watched.h"

namespace velmora::test {

// The catalog that the window tests' process reads (VELMORA_CATALOG_URL, read once per process,
// points here), on a loopback server that lives as long as the process:
// - ios5/en-US (named Samantha by the compact data) installs for real;
// - ios6/en-GB sends 42% of its archive, then holds until `download` opens or it is cancelled;
// - ios6/de-DE has a good archive (tests hold its install before it starts, see holdInstall);
// - ios6/ja-JP has an archive whose checksum does not match, so its install fails.
class CatalogServer {
public:
    static CatalogServer& shared();
    // The archive of ios5/en-US and ios6/de-DE.
    static const std::string& goodArchive();

    Gate catalog;                      // the catalog answers once this is open
    Gate download;                     // the held archive's rest
    std::atomic<bool> failing{false};  // the catalog answers 404 Not Found
    std::atomic<int> catalogReads{0};

    // Opens every gate, so that no request stays held.
    void release();

private:
    CatalogServer();
    LoopbackServer server_;
};

}  // namespace velmora::test
