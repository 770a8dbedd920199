#include "support/ServedCatalog.h"

#include <openssl/evp.h>

#include <cstdlib>

#include "support/Files.h"
#include "support/Process.h"

namespace velmora::test {

std::vector<std::byte> sha1Of(std::string_view bytes) {
    std::vector<std::byte> digest(20);
    EVP_Digest(bytes.data(), bytes.size(), reinterpret_cast<unsigned char*>(digest.data()), nullptr,
               EVP_sha1(), nullptr);
    return digest;
}

std::string dataValue(const std::vector<std::byte>& bytes) {
    std::string encoded(4 * ((bytes.size() + 2) / 3) + 1, '\0');
    auto* out = reinterpret_cast<unsigned char*>(encoded.data());
    const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
    encoded.resize(static_cast<std::size_t>(EVP_EncodeBlock(out, in, static_cast<int>(bytes.size()))));
    return "<data>" + encoded + "</data>";
}

std::string assetXml(const std::string& format, const std::string& language, const Entries& changes) {
    Entries entries{{"Build", stringValue("10A403")},
                    {"_IsZipStreamable", "<true/>"},
                    {"FormatVersion", stringValue(format)},
                    {"Language", stringValue(language)},
                    {"_DownloadSize", "<integer>1000</integer>"},
                    {"_MasteredVersion", stringValue("5.0.1")},
                    {"_UnarchivedSize", "<integer>4000</integer>"},
                    {"_Measurement", dataValue(std::vector<std::byte>(20, std::byte{0x5a}))},
                    {"__BaseURL", stringValue("https://example.invalid/voices/")},
                    {"__RelativePath", stringValue(language + ".zip")}};
    for (const auto& [key, value] : changes) {
        std::erase_if(entries, [&key](const auto& entry) { return entry.first == key; });
        if (!value.empty()) entries.emplace_back(key, value);
    }
    std::string xml = "<dict>";
    for (const auto& [key, value] : entries) xml += "\n<key>" + key + "</key>" + value;
    return xml + "</dict>\n";
}

std::string catalogXml(const std::vector<std::string>& assets) {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n"
        "<key>AssetType</key><string>voices</string><key>Assets</key><array>\n";
    for (const auto& asset : assets) xml += asset;
    return xml + "</array><key>Signature</key><data>AAEC</data></dict></plist>\n";
}

std::string servedAsset(const std::string& format, const std::string& language, const std::string& base,
                        const std::string& path, std::string_view archive, const Entries& changes) {
    Entries served{{"__BaseURL", stringValue(base)},
                   {"__RelativePath", stringValue(path)},
                   {"_Measurement", dataValue(sha1Of(archive))}};
    served.insert(served.end(), changes.begin(), changes.end());
    return assetXml(format, language, served);
}

std::string makeZip(const std::vector<std::string>& namesAndContents) {
    const TempDir dir;
    std::vector<std::string> arguments{
        "-c",
        "import sys, zipfile\n"
        "with zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED) as archive:\n"
        "    for name, content in zip(sys.argv[2::2], sys.argv[3::2]):\n"
        "        archive.writestr(zipfile.ZipInfo(name) if name.endswith('/') else name, content)\n",
        (dir / "archive.zip").string()};
    arguments.insert(arguments.end(), namesAndContents.begin(), namesAndContents.end());
    if (runProcess("/usr/bin/python3", arguments).exitStatus != 0) throw std::runtime_error("zipfile failed");
    return readFile(dir / "archive.zip");
}

TlsIdentity TlsIdentity::create(const std::filesystem::path& folder) {
    TlsIdentity identity{folder / "certificate.pem", folder / "key.pem"};
    const std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 1 -subj /CN=127.0.0.1"
        " -addext subjectAltName=IP:127.0.0.1 -addext basicConstraints=critical,CA:TRUE -keyout " +
        identity.key.string() + " -out " + identity.certificate.string() + " 2>/dev/null";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("openssl could not make a certificate");
    return identity;
}

}  // namespace velmora::test
