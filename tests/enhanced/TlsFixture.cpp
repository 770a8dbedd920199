#include "TlsFixture.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <stdexcept>

namespace velmora::test {
namespace {

void addExtension(X509* certificate, int id, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, id, value);
    if (extension == nullptr) throw std::runtime_error("bad certificate extension");
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

template <typename Write>
void writePem(const std::filesystem::path& file, Write write) {
    FILE* out = std::fopen(file.c_str(), "w");
    if (out == nullptr || write(out) != 1) throw std::runtime_error("cannot write " + file.string());
    std::fclose(out);
}

}  // namespace

TlsIdentity makeSelfSignedIdentity(const std::filesystem::path& folder) {
    EVP_PKEY* key = EVP_EC_gen("P-256");
    X509* certificate = X509_new();
    if (key == nullptr || certificate == nullptr) throw std::runtime_error("cannot make a key");
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 24 * 3600);
    X509_set_pubkey(certificate, key);
    X509_NAME* name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("127.0.0.1"),
                               -1, -1, 0);
    X509_set_issuer_name(certificate, name);
    addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE");
    addExtension(certificate, NID_subject_alt_name, "IP:127.0.0.1");
    X509_sign(certificate, key, EVP_sha256());

    const TlsIdentity identity{folder / "certificate.pem", folder / "key.pem"};
    writePem(identity.certificate, [&](FILE* out) { return PEM_write_X509(out, certificate); });
    writePem(identity.key, [&](FILE* out) {
        return PEM_write_PrivateKey(out, key, nullptr, nullptr, 0, nullptr, nullptr);
    });
    X509_free(certificate);
    EVP_PKEY_free(key);
    return identity;
}

}  // namespace velmora::test
