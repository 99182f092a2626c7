// TAddToVectorCallback: gathers an enumeration into a vector.
#pragma once

#include <boost/shared_ptr.hpp>
#include <functional>
#include <vector>

namespace NVEXTAL20 {

// std::unary_function is deprecated, but callers may use the typedefs that it gives.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

/// Appends each object it is called with to the vector and returns true: "go on". The vector is the
/// caller's and must outlive the callback and its copies.
template <typename T>
class TAddToVectorCallback : public std::unary_function<boost::shared_ptr<T>, bool> {
public:
    explicit TAddToVectorCallback(std::vector<boost::shared_ptr<T>>& destination) : gathered(&destination) {}
    bool operator()(boost::shared_ptr<T> object) const {
        gathered->push_back(object);
        return true;
    }

private:
    std::vector<boost::shared_ptr<T>>* gathered;
};

#pragma GCC diagnostic pop

}  // namespace NVEXTAL20
