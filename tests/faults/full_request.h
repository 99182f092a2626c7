// A described server, a request for every class that the plug-in serves, and the outcome.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "plugin/entry/disk_mgt_callbacks.h"
#include "refhost/api/reference_host.h"
#include "tests/support/fake_os.h"

namespace diskmgt_test {

/// An MBR disk with an extended chain (sda), a GPT disk (sdb), an empty disk (sdc), a virtual one (sdd), one without a
/// node (sde), an NVMe disk with partition nodes, a RAM disk, a device-mapper volume, a loop device without a file; a
/// mount table with repeated sources, links and file systems that cannot be measured.
void describeServer(FakeOs& machine);

/// Where the links of the described server lead, by path.
const std::map<std::string, std::string>& serverLinks();

/// The nine instance classes, those with instances first, then the eight association classes.
const std::vector<std::string>& allClasses();
bool isAssociationClass(const std::string& className);

/// The non-null properties of an instance by name; arrays joined by "|".
using Texts = std::map<std::string, std::string>;

/// The outcome of one request.
struct Outcome {
    std::map<std::string, std::vector<Texts>> published;  // by class, in the order committed
    std::vector<std::string> log;                         // "3 Partition information.."
    std::optional<std::string> failure;

    const std::vector<Texts>& of(const std::string& className) const { return published.at(className); }
};
/// The differences of two outcomes, a line each; empty when they are equal.
std::string differences(const Outcome& actual, const Outcome& expected);

/// A reference host served by the plug-in's entry object in this process.
class FullRequest {
public:
    /// Runs the plug-in's part of a request.
    using Serve = std::function<void()>;

    explicit FullRequest(std::vector<std::string> classNames = allClasses());
    FullRequest(const FullRequest&) = delete;
    FullRequest& operator=(const FullRequest&) = delete;
    ~FullRequest();

    Outcome run();
    /// Called with the plug-in's work instead of it, so that a test can switch something on for just that time.
    void setAround(std::function<void(const Serve&)> surroundings) { around = std::move(surroundings); }

    refhost::ReferenceHost host;

private:
    class Entry;
    std::vector<std::string> classes;
    std::function<void(const Serve&)> around;
};

/// The associations of a class that follow from the published instances, found by searching every pair. `readsLink`
/// gives the target of a link; empty when the path is not a link.
std::vector<Texts> pairsOf(const std::string& associationClass, const Outcome& outcome,
                           const std::function<std::string(const std::string&)>& readsLink);
/// The same, with the links of the described server.
std::vector<Texts> pairsOf(const std::string& associationClass, const Outcome& outcome);

/// Every association class, except the named one, holds exactly the pairs of the published instances.
void expectAssociationsFollow(const Outcome& outcome, const std::string& butFor = {});

/// The first `count` of them.
template <typename T>
std::vector<T> firstOf(const std::vector<T>& all, std::size_t count) {
    return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)};
}

/// Whether `whole` begins with `part`.
template <typename T>
bool isBeginningOf(const std::vector<T>& part, const std::vector<T>& whole) {
    return part.size() <= whole.size() && part == firstOf(whole, part.size());
}

}  // namespace diskmgt_test
