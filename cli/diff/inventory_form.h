// The form of the documents of `export json`, as far as they are compared.
#pragma once

#include <vector>

namespace diskmgt {

enum class ValueKind { kNumber, kTruth, kText, kTexts };

struct KeyDescription {
    const char* name;
    ValueKind kind;
    bool isAlwaysThere = true;
};

enum class ObjectKind { kInventory, kFailure, kDrive, kPartition, kLogical, kDisk };

struct ListDescription {
    const char* name;
    ObjectKind elements;
};

/// What an object must and may hold; other keys are ignored.
struct ObjectDescription {
    const char* nameKey;  // of its name as an element; null: it has none
    std::vector<KeyDescription> keys;
    std::vector<ListDescription> lists;
};

const ObjectDescription& descriptionOf(ObjectKind kind);

/// "whole number", for the sentence that misses one.
const char* wordFor(ValueKind kind);

}  // namespace diskmgt
