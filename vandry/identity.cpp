#include "vandry/identity.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include "lib/files.h"
#include "vandry/private_files.h"

namespace zelkor::vandry {

namespace {

constexpr std::int64_t kMostKeyFileBytes = 16 * 1024;
constexpr std::size_t kGroup = 4;

struct FreeBio {
  void operator()(BIO* bio) const { BIO_free_all(bio); }
};
using Bio = std::unique_ptr<BIO, FreeBio>;

std::string KeyAsText(EVP_PKEY* key) {
  // Memory that the library wipes when it goes.
  const Bio bio(BIO_new(BIO_s_secmem()));
  if (bio == nullptr || PEM_write_bio_PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) != 1) return {};
  char* text = nullptr;
  const long size = BIO_get_mem_data(bio.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

EVP_PKEY* KeyFromText(const std::string& text) {
  const Bio bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  // An empty password keeps the library from asking for one.
  char none[] = "";  // NOLINT(modernize-avoid-c-arrays)
  EVP_PKEY* key = bio == nullptr ? nullptr : PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, none);
  ERR_clear_error();
  return key;
}

bool FillCertificate(X509* certificate, EVP_PKEY* key) {
  X509_NAME* name = X509_get_subject_name(certificate);
  // No date matters: clocks may be wrong, and the key counts until somebody unpairs it.
  return X509_set_version(certificate, X509_VERSION_3) == 1 &&
         ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1) == 1 &&
         ASN1_TIME_set_string_X509(X509_getm_notBefore(certificate), "20000101000000Z") == 1 &&
         ASN1_TIME_set_string_X509(X509_getm_notAfter(certificate), "99991231235959Z") == 1 &&
         X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("vandry"), -1, -1,
                                    0) == 1 &&
         X509_set_issuer_name(certificate, name) == 1 && X509_set_pubkey(certificate, key) == 1 &&
         X509_sign(certificate, key, nullptr) > 0;
}

}  // namespace

std::string FingerprintText(const Fingerprint& fingerprint) {
  const std::string digits = ToHex(fingerprint);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); i += kGroup) {
    if (i > 0) text += '-';
    text.append(digits, i, kGroup);
  }
  return text;
}

std::optional<Fingerprint> FingerprintFromText(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (c != '-' && c != ':' && c != ' ') digits += c;
  }
  return DigestFromHex(digits);
}

std::optional<Fingerprint> FingerprintOf(const x509_st* certificate) {
  Fingerprint fingerprint{};
  unsigned int size = 0;
  if (certificate == nullptr) return std::nullopt;
  // i2d allocates when it is given no place.
  unsigned char* key = nullptr;
  const int length = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &key);
  if (length <= 0) return std::nullopt;
  const bool done =
      EVP_Digest(key, static_cast<std::size_t>(length), fingerprint.data(), &size, EVP_sha256(), nullptr) == 1;
  OPENSSL_free(key);
  if (!done || size != fingerprint.size()) return std::nullopt;
  return fingerprint;
}

void Identity::Free::operator()(evp_pkey_st* key) const { EVP_PKEY_free(key); }
void Identity::Free::operator()(x509_st* certificate) const { X509_free(certificate); }
Identity::~Identity() = default;

lib::Result<std::shared_ptr<const Identity>> Identity::Load(const std::string& programDir) {
  const lib::Result<std::string> folder = PrivateFolder(programDir);
  if (!folder.Ok()) return folder.Failure();
  const std::string path = *folder + "key.pem";
  lib::Result<std::string> text = lib::ReadSmallFile(path, kMostKeyFileBytes);
  if (!text.Ok() && text.Why() == lib::Cause::NotFound) {
    const std::unique_ptr<EVP_PKEY, Free> made(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"));
    std::string written = made == nullptr ? std::string() : KeyAsText(made.get());
    if (written.empty()) return lib::Status(lib::Cause::Failed, "Can not make a key");
    // Another process may be first: then its key is the one.
    const lib::Status kept = MakePrivateFile(path, written);
    OPENSSL_cleanse(written.data(), written.size());
    if (!kept.Ok() && kept.Why() != lib::Cause::Exists) return kept;
    text = lib::ReadSmallFile(path, kMostKeyFileBytes);
  }
  if (!text.Ok()) return text.Failure();

  const std::shared_ptr<Identity> identity(new Identity);
  identity->key_.reset(KeyFromText(*text));
  OPENSSL_cleanse(text->data(), text->size());
  if (identity->key_ == nullptr || EVP_PKEY_is_a(identity->key_.get(), "ED25519") != 1) {
    return lib::Status(lib::Cause::Damaged, "The key in " + path + " can not be read");
  }
  identity->certificate_.reset(X509_new());
  if (identity->certificate_ == nullptr || !FillCertificate(identity->certificate_.get(), identity->key_.get())) {
    return lib::Status(lib::Cause::Failed, "Can not make a certificate");
  }
  const std::optional<Fingerprint> fingerprint = FingerprintOf(identity->certificate_.get());
  if (!fingerprint) return lib::Status(lib::Cause::Failed, "Can not make a certificate");
  identity->fingerprint_ = *fingerprint;
  return std::shared_ptr<const Identity>(identity);
}

}  // namespace zelkor::vandry
