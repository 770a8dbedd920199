#include "CatalogServer.h"

#include <chrono>
#include <cstdlib>

#include "support/Files.h"

namespace velmora::test {

void Gate::open() {
    std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
}

void Gate::close() {
    std::lock_guard lock(mutex_);
    open_ = false;
}

bool Gate::wait() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [this] { return open_; });
}

namespace {

const std::string& goodArchive() {
    static const std::string archive =
        makeZip({"voice/broker.hdr.asset", brokerHeader("Samantha"), "voice/voice.dat", "data"});
    return archive;
}
constexpr std::size_t heldLength = 1000;
constexpr std::size_t heldSent = 420;

std::string asset(const std::string& base, const std::string& format, const std::string& language,
                  const std::string& path, const std::string& archive) {
    return assetXml(format, language,
                    {{"__BaseURL", stringValue(base)},
                     {"__RelativePath", stringValue(path)},
                     {"_Measurement", dataValue(sha1Of(archive))}});
}

}  // namespace

CatalogServer& CatalogServer::shared() {
    static CatalogServer server;
    return server;
}

void CatalogServer::release() {
    catalog.open();
    download.open();
}

CatalogServer::CatalogServer()
    : server_([this](httplib::Server& http) {
          http.Get("/catalog.xml", [this](const httplib::Request&, httplib::Response& response) {
              ++catalogReads;
              catalog.wait();
              if (failing) {
                  response.status = 404;
                  return;
              }
              const std::string base = server_.url("/");
              response.set_content(
                  catalogXml({asset(base, "3", "en-US", "good.zip", goodArchive()),
                              asset(base, "4", "en-GB", "held.zip", std::string(heldLength, 'x')),
                              asset(base, "4", "de-DE", "good.zip", goodArchive()),
                              asset(base, "4", "ja-JP", "good.zip", "another archive")}),
                  "application/xml");
          });
          http.Get("/good.zip", [](const httplib::Request&, httplib::Response& response) {
              response.set_content(goodArchive(), "application/zip");
          });
          http.Get("/held.zip", [this](const httplib::Request&, httplib::Response& response) {
              response.set_content_provider(
                  heldLength, "application/zip",
                  [this](std::size_t offset, std::size_t, httplib::DataSink& sink) {
                      const std::string bytes(offset == 0 ? heldSent : heldLength - offset, 'x');
                      return (offset == 0 || download.wait()) && sink.write(bytes.data(), bytes.size());
                  });
          });
      }) {
    setenv("VELMORA_CATALOG_URL", server_.url("/catalog.xml").c_str(), 1);
}

}  // namespace velmora::test
