// The form of the documents of `export json`, as far as they are compared.
#pragma once

#include <vector>

namespace diskmgt {

enum class ValueKind { kNumber, kTruth, kText, kTexts };

struct KeyDescription {
    const char* name;
    ValueKind kind;
    bool isAlwaysThere = true;
    const char* keptAs = nullptr;  // of a key inside another object: the way there, with dots; null: its own name

    const char* keptName() const { return keptAs == nullptr ? name : keptAs; }
};

enum class ObjectKind {
    kInventory,
    kGap,
    kDevice,
    kPartition,
    kSwap,
    kMount,
    kFileSystem,
    kAnswers,
    kDriveAnswer,
    kPartitionAnswer,
    kDiskAnswer
};

/// A key whose value is an object or a list of objects.
struct InnerDescription {
    const char* name;
    ObjectKind object;
    bool isList;
    bool isAlwaysThere;
};

/// What an object must and may hold; other keys are ignored.
struct ObjectDescription {
    std::vector<KeyDescription> keys;
    std::vector<InnerDescription> inner;
};

const ObjectDescription& descriptionOf(ObjectKind kind);

/// "whole number", for the sentence that misses one.
const char* wordFor(ValueKind kind);

}  // namespace diskmgt
