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

/// Safe to use from several threads. A request has a number, later ones a greater one; 0 stands for no request.
class InstanceStore {
public:
    explicit InstanceStore(std::size_t classCount) : shelves(classCount) {}

    /// Drops the instances of exactly these classes, so that the request can publish them afresh.
    void beginRequest(std::uint64_t request, const std::vector<const DeclaredClass*>& classes);
    /// Publishes the instance, visible at once. Dropped without a word when a later request has begun to publish the
    /// same class: its instances are the newer truth, and both together would be doubled.
    void publish(const boost::shared_ptr<InstanceObject>& instance, std::uint64_t request);
    /// Publishes an instance that stays until the store goes.
    void publishForGood(const boost::shared_ptr<InstanceObject>& instance);
    /// Drops everything but what is there for good.
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
