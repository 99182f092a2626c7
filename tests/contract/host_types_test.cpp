// The inline parts of the host's types: plug-ins contain them, so they are binary interface too.
#include <gtest/gtest.h>

#include <functional>
#include <type_traits>

#include "plugin/host/add_to_vector_callback.h"
#include "plugin/host/cim_model.h"
#include "plugin/host/cim_value.h"

namespace contract {
namespace {

using NVEXTAL20::ICIMInstance;
using InstancePointer = boost::shared_ptr<ICIMInstance>;
using Gathering = NVEXTAL20::TAddToVectorCallback<ICIMInstance>;

// The base class is deprecated, but part of the interface.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
static_assert(std::is_base_of_v<std::unary_function<InstancePointer, bool>, Gathering>);
static_assert(std::is_same_v<Gathering::argument_type, InstancePointer>);
static_assert(std::is_same_v<Gathering::result_type, bool>);
static_assert(std::is_convertible_v<Gathering*, std::unary_function<InstancePointer, bool>*>, "a public base");
#pragma GCC diagnostic pop
static_assert(std::is_constructible_v<Gathering, std::vector<InstancePointer>&>);

TEST(HostTypes, GatheringAppendsInOrderAndAlwaysContinues) {
    std::vector<InstancePointer> gathered(1);
    const Gathering gathering(gathered);
    EXPECT_TRUE(gathering(nullptr));
    EXPECT_TRUE(Gathering(gathering)(nullptr));  // a copy appends to the same vector
    EXPECT_EQ(gathered.size(), 3U);
}

TEST(HostTypes, ATypeIsOneSharedPointer) {
    using NVEXTAL20::TCIMValue;
    EXPECT_EQ(sizeof(TCIMValue::TCIMType), sizeof(boost::shared_ptr<const TCIMValue::TCIMType::Content>));
    EXPECT_FALSE(std::is_polymorphic_v<TCIMValue::TCIMType>);
    EXPECT_FALSE(std::is_trivially_copyable_v<TCIMValue::TCIMType>);  // so it is passed by address
}

}  // namespace
}  // namespace contract
