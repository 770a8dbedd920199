#include "CatalogServer.h"

#include <cstdlib>

#include "support/Files.h"

namespace velmora::test {

namespace {

constexpr std::size_t heldLength = 1000;
constexpr std::size_t heldSent = 420;

}  // namespace

const std::string& CatalogServer::goodArchive() {
    static const std::string archive =
        makeZip({"voice/broker.hdr.asset", brokerHeader("Samantha"), "voice/voice.dat", "data"});
    return archive;
}

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
                  catalogXml({servedAsset("3", "en-US", base, "good.zip", goodArchive()),
                              servedAsset("4", "en-GB", base, "held.zip", std::string(heldLength, 'x')),
                              servedAsset("4", "de-DE", base, "good.zip", goodArchive()),
                              servedAsset("4", "ja-JP", base, "good.zip", "another archive")}),
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
