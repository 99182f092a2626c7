// What a plug-in published as bytes, on their way from the process that asks to one that shows it.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "session/published.h"
#include "worker/account.h"

namespace diskmgt {

/// When collecting began.
struct Beginning {
    std::time_t time = std::time(nullptr);
    std::int64_t steadyNs = worker::steadyNanoseconds();

    double secondsAgo() const { return static_cast<double>(worker::steadyNanoseconds() - steadyNs) / 1e9; }
};

/// A class, and what was reported while it was served; empty: no failure.
struct ServedClass {
    PublishedClass published;
    std::string failure;
};

std::string packed(const Beginning& beginning);
std::string packed(const ServedClass& served);

/// Now, where the bytes have none.
Beginning unpackedBeginning(const std::string& bytes);

/// Reads classes one after the other. One that is cut short, or that `declarationOf` does not know,
/// ends the list.
std::vector<ServedClass> unpacked(
    const std::string& bytes,
    const std::function<const refhost::ClassDeclaration*(const std::string& className)>& declarationOf);

}  // namespace diskmgt
