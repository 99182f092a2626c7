// InstanceStore: the published instances of every class, and which request may publish into which class.
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "refhost/schema/schema.h"

namespace refhost {

class InstanceObject;

/// Safe to use from several threads: one lock, held for pointer moves only; dropped instances are freed after it is
/// released. Requests have rising numbers; 0 means no request.
class InstanceStore {
public:
    explicit InstanceStore(std::size_t classCount) : shelves(classCount) {}

    /// Drops the instances of exactly these classes, so that the request can publish them anew.
    void beginRequest(std::uint64_t request, const std::vector<const DeclaredClass*>& classes);
    /// Publishes the instance, visible at once. Silently dropped when a later request has begun to publish the same
    /// class: its instances are newer, and both together would appear twice.
    void publish(const boost::shared_ptr<InstanceObject>& instance, std::uint64_t request);
    /// Publishes an instance that stays as long as the store.
    void publishForGood(const boost::shared_ptr<InstanceObject>& instance);
    /// Drops all instances but the permanent ones.
    void clear();

    /// The instances of exactly this class, in the order published.
    std::vector<boost::shared_ptr<InstanceObject>> instancesOf(const DeclaredClass& declared) const;
    /// Those of the class and of every class beneath it, the classes in declaration order.
    std::vector<boost::shared_ptr<InstanceObject>> familyOf(const DeclaredClass& declared) const;

private:
    struct Shelf {
        std::vector<boost::shared_ptr<InstanceObject>> permanent;
        std::vector<boost::shared_ptr<InstanceObject>> published;
        std::uint64_t owner = 0;  // the latest request for the class
    };
    static void append(const Shelf& shelf, std::vector<boost::shared_ptr<InstanceObject>>& all);

    mutable std::mutex mutex;
    std::vector<Shelf> shelves;  // by class index
};

}  // namespace refhost
