#include "serve/http/credentials.h"

#include <crypt.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "serve/http/ascii.h"
#include "serve/http/settings_error.h"

namespace diskmgt::serve {

namespace {

constexpr std::size_t kSecretBytes = 32;

std::string inLine(std::size_t number, const char* what) {
    return "line " + std::to_string(number) + " of the credentials " + what;
}

bool isUsableHash(const std::string& hash) {
    if (hash.empty() || hash.front() != '$') return false;  // the oldest kind reads eight letters of a password
    const int kind = ::crypt_checksalt(hash.c_str());
    return kind != CRYPT_SALT_INVALID && kind != CRYPT_SALT_METHOD_DISABLED;
}

/// Whether the password has this hash, found out in a time that does not depend on where they differ.
bool hasHash(const std::string& password, const std::string& hash) {
    const auto work = std::make_unique<crypt_data>();
    const char* const computed = ::crypt_r(password.c_str(), hash.c_str(), work.get());
    const bool isSame = computed != nullptr && std::string_view(computed).size() == hash.size() &&
                        ::CRYPTO_memcmp(computed, hash.data(), hash.size()) == 0;
    ::OPENSSL_cleanse(work.get(), sizeof *work);
    return isSame;
}

}  // namespace

bool readBasicCredentials(const std::string& authorization, NameAndPassword& result) {
    constexpr std::string_view kScheme = "basic ";
    if (!equalsWithoutCase(std::string_view(authorization).substr(0, kScheme.size()), kScheme)) return false;
    const std::size_t start = authorization.find_first_not_of(' ', kScheme.size());
    if (start == std::string::npos) return false;
    const std::string_view coded = std::string_view(authorization).substr(start);
    const std::size_t padding = coded.size() - (coded.find_last_not_of('=') + 1);
    const bool isCoded =
        std::all_of(coded.begin(), coded.end() - static_cast<std::ptrdiff_t>(padding), [](char letter) {
            return (letter >= '0' && letter <= '9') || (lowerLetter(letter) >= 'a' && lowerLetter(letter) <= 'z') ||
                   letter == '+' || letter == '/';
        });
    if (!isCoded || coded.size() % 4 != 0 || padding > 2) return false;
    std::string plain(coded.size() / 4 * 3, '\0');
    const int length =
        ::EVP_DecodeBlock(reinterpret_cast<unsigned char*>(plain.data()),
                          reinterpret_cast<const unsigned char*>(coded.data()), static_cast<int>(coded.size()));
    if (length < 0) return false;
    plain.resize(static_cast<std::size_t>(length) - padding);
    const std::size_t colon = plain.find(':');
    const bool isUsable = colon != std::string::npos && plain.find('\0') == std::string::npos;
    if (isUsable) result = {plain.substr(0, colon), plain.substr(colon + 1)};
    ::OPENSSL_cleanse(plain.data(), plain.size());
    return isUsable;
}

Credentials::Credentials(const std::string& text) : secret(kSecretBytes, '\0') {
    if (::RAND_bytes(reinterpret_cast<unsigned char*>(secret.data()), static_cast<int>(secret.size())) != 1)
        throw SettingsError("the system gives no random numbers");
    std::size_t number = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        std::string line = text.substr(start, end - start);
        start = end + 1;
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line.front() == '#') continue;
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos || colon == 0)
            throw SettingsError(inLine(number, "is not NAME:HASH; openssl passwd -6 makes a hash"));
        Entry entry{line.substr(0, colon), line.substr(colon + 1)};
        if (!isUsableHash(entry.hash))
            throw SettingsError(inLine(
                number, "has a hash that crypt(3) does not know here; openssl passwd -6 makes one that it knows"));
        if (std::any_of(entries.begin(), entries.end(), [&](const Entry& other) { return other.name == entry.name; }))
            throw SettingsError(inLine(number, "has a name that an earlier line has too"));
        entries.push_back(std::move(entry));
    }
    if (entries.empty()) throw SettingsError("the credentials name nobody; write lines NAME:HASH");
}

bool Credentials::matches(const NameAndPassword& given) const {
    for (const Entry& entry : entries)
        if (entry.name == given.name) return hasHash(given.password, entry.hash);
    unsigned char digest[EVP_MAX_MD_SIZE] = {};
    const std::string keyed = secret + given.name;
    (void)::EVP_Digest(keyed.data(), keyed.size(), digest, nullptr, ::EVP_sha256(), nullptr);  // a failure: the first
    const std::size_t chosen = (digest[0] * 256U + digest[1]) % entries.size();
    (void)hasHash(given.password, entries[chosen].hash);  // for the time that it takes
    return false;
}

}  // namespace diskmgt::serve
