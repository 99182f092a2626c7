// What is packed in one process is the same in another, and what is cut short is left out, never misread.
#include "session/packed_classes.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace diskmgt {
namespace {

refhost::ClassDeclaration declaration(const std::string& name, std::size_t properties) {
    refhost::ClassDeclaration cls;
    cls.name = name;
    for (std::size_t i = 0; i < properties; ++i) {
        cls.properties.emplace_back();
        cls.properties.back().name = "P" + std::to_string(i);
    }
    return cls;
}

struct Declarations {
    const refhost::ClassDeclaration drive = declaration("Drive", 3), pair = declaration("Pair", 1),
                                    bare = declaration("Bare", 0);
    std::vector<const refhost::ClassDeclaration*> all() const { return {&drive, &pair, &bare}; }
    const refhost::ClassDeclaration* find(const std::string& name) const {
        for (const refhost::ClassDeclaration* const one : all())
            if (one->name == name) return one;
        return nullptr;
    }
};

const Declarations& declared() {
    static const Declarations declarations;
    return declarations;
}

std::vector<ServedClass> read(const std::string& bytes) {
    return unpacked(bytes, [](const std::string& name) { return declared().find(name); });
}

bool isSame(const refhost::Instance& one, const refhost::Instance& other) {
    return one.className == other.className && one.path == other.path &&
           std::equal(one.properties.begin(), one.properties.end(), other.properties.begin(), other.properties.end(),
                      [](const refhost::PropertyValue& a, const refhost::PropertyValue& b) {
                          return a.declaration == b.declaration && a.isNull == b.isNull && a.elements == b.elements;
                      });
}

bool isSame(const ServedClass& one, const ServedClass& other) {
    const auto& here = one.published.instances;
    const auto& there = other.published.instances;
    return one.published.declaration == other.published.declaration && one.failure == other.failure &&
           std::equal(here.begin(), here.end(), there.begin(), there.end(),
                      [](const refhost::Instance& a, const refhost::Instance& b) { return isSame(a, b); });
}

bool isSame(const std::vector<ServedClass>& one, const std::vector<ServedClass>& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const ServedClass& a, const ServedClass& b) { return isSame(a, b); });
}

std::string anyText() { return *rc::gen::container<std::string>(rc::gen::arbitrary<char>()); }

ServedClass anyClass() {
    ServedClass served;
    served.published.declaration = *rc::gen::elementOf(declared().all());
    served.failure = anyText();
    const auto count = *rc::gen::inRange(0, 4);
    for (int i = 0; i < count; ++i) {
        refhost::Instance& instance = served.published.instances.emplace_back();
        instance.className = served.published.declaration->name;
        instance.path = anyText();
        for (const refhost::PropertyDeclaration& property : served.published.declaration->properties) {
            refhost::PropertyValue& value = instance.properties.emplace_back();
            value.declaration = &property;
            value.isNull = *rc::gen::arbitrary<bool>();
            const auto elements = value.isNull ? 0 : *rc::gen::inRange(0, 4);
            for (int element = 0; element < elements; ++element) value.elements.push_back(anyText());
        }
    }
    return served;
}

std::vector<ServedClass> anyClasses() {
    std::vector<ServedClass> classes;
    const auto count = *rc::gen::inRange(0, 4);
    for (int i = 0; i < count; ++i) classes.push_back(anyClass());
    return classes;
}

Beginning someBeginning() {
    Beginning beginning;
    beginning.time = 1234567890123;
    beginning.steadyNs = -5;
    return beginning;
}

RC_GTEST_PROP(PackedClasses, AreReadBackAsTheyWere, ()) {
    const std::vector<ServedClass> classes = anyClasses();
    std::string bytes = packed(someBeginning());
    for (const ServedClass& one : classes) bytes += packed(one);
    RC_ASSERT(isSame(read(bytes), classes));
    const Beginning beginning = unpackedBeginning(bytes);
    RC_ASSERT(beginning.time == 1234567890123 && beginning.steadyNs == -5);
}

RC_GTEST_PROP(PackedClasses, CutAnywhereGiveTheClassesBeforeTheCut, ()) {
    const std::vector<ServedClass> classes = anyClasses();
    std::string bytes = packed(someBeginning());
    std::vector<std::size_t> ends;
    for (const ServedClass& one : classes) ends.push_back((bytes += packed(one)).size());
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const auto whole = std::count_if(ends.begin(), ends.end(), [length](std::size_t end) { return end <= length; });
        const std::vector<ServedClass> before(classes.begin(), classes.begin() + whole);
        RC_ASSERT(isSame(read(bytes.substr(0, length)), before));
    }
}

RC_GTEST_PROP(PackedClasses, AnyBytesAreReadWithoutHarm, ()) {
    std::string bytes = packed(someBeginning()) + packed(anyClass()) + packed(anyClass());
    const auto changes = *rc::gen::inRange(1, 9);
    for (int i = 0; i < changes; ++i)
        bytes[*rc::gen::inRange<std::size_t>(0, bytes.size())] = *rc::gen::arbitrary<char>();
    bytes += anyText();
    for (const ServedClass& served : read(bytes)) {
        RC_ASSERT(served.published.declaration != nullptr);
        for (const refhost::Instance& instance : served.published.instances)
            RC_ASSERT(instance.properties.size() == served.published.declaration->properties.size());
    }
}

TEST(PackedClassLists, EndAtAClassThatIsNotKnown) {
    const refhost::ClassDeclaration unknown = declaration("Unknown", 1);
    ServedClass first, second;
    first.published.declaration = &declared().bare;
    second.published.declaration = &unknown;
    EXPECT_EQ(read(packed(someBeginning()) + packed(first) + packed(second) + packed(first)).size(), 1U);
}

TEST(PackedClassLists, NullAndEmptyStayDifferent) {
    ServedClass served;
    served.published.declaration = &declared().pair;
    for (const bool isNull : {true, false}) {
        refhost::Instance& instance = served.published.instances.emplace_back();
        instance.className = "Pair";
        instance.properties.emplace_back();
        instance.properties.back().declaration = &declared().pair.properties.front();
        instance.properties.back().isNull = isNull;
    }
    EXPECT_TRUE(isSame(read(packed(someBeginning()) + packed(served)), {served}));
}

}  // namespace
}  // namespace diskmgt
