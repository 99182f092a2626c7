// Names and the hashes of their passwords.
#pragma once

#include <string>
#include <vector>

namespace diskmgt::serve {

struct NameAndPassword {
    std::string name;
    std::string password;
};

/// Of an Authorization header in the Basic form; false when it is none.
bool readBasicCredentials(const std::string& authorization, NameAndPassword& result);

/// Immutable, so that any thread may ask.
class Credentials {
public:
    /// Lines NAME:HASH as crypt(3) makes hashes; empty lines and those that begin with '#' are skipped. Throws
    /// `SettingsError` with the number of the line, and never with what it says.
    explicit Credentials(const std::string& text);

    /// Takes as long for a name that is unknown as for one that is known: a hash is computed in either case.
    bool matches(const NameAndPassword& given) const;

private:
    struct Entry {
        std::string name;
        std::string hash;
    };
    std::vector<Entry> entries;
    std::string secret;  // chooses the entry that an unknown name is measured with, always the same for one name
};

}  // namespace diskmgt::serve
