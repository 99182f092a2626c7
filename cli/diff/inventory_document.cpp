// Reads a document event by event with the JSON library, which is heavy and therefore kept to this file. Only what is
// compared is kept.
#include "cli/diff/inventory_document.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "cli/diff/element_gathering.h"
#include "cli/diff/inventory_form.h"

namespace diskmgt {

namespace {

using Json = nlohmann::json;

constexpr std::uint64_t kReadableSchema = 1;
constexpr std::size_t kLongestText = std::size_t{1} << 20U;
constexpr std::size_t kDeepest = 32;  // an inventory of this form is 12 deep
const char* const kNoInventory = "is not a document of \"diskmgt export json\"";

[[noreturn]] void refuse(const std::string& why) { throw std::runtime_error(why); }

std::string position(const std::string& text, std::size_t byte) {
    const std::size_t before = std::min(byte == 0 ? 0 : byte - 1, text.size());
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(before);
    const std::size_t lineStart = before == 0 ? std::string::npos : text.rfind('\n', before - 1);
    const std::size_t column = lineStart == std::string::npos ? before + 1 : before - lineStart;
    return "line " + std::to_string(std::count(text.begin(), end, '\n') + 1) + ", column " + std::to_string(column);
}

class InventoryEvents final : public nlohmann::json_sax<Json> {
public:
    InventoryEvents(const std::string& documentText, std::size_t alreadyKept)
        : text(documentText), gathering(document) {
        document.kept = alreadyKept;
    }

    bool null() override { return scalar(std::nullopt, DocumentValue()); }
    bool boolean(bool value) override { return scalar(ValueKind::kTruth, value); }
    bool number_integer(number_integer_t) override { return scalar(std::nullopt, DocumentValue()); }
    bool number_unsigned(number_unsigned_t value) override {
        if (!frames.empty() && frames.back().isAtSchema) schema = value;
        return scalar(ValueKind::kNumber, std::uint64_t{value});
    }
    bool number_float(number_float_t, const string_t&) override { return scalar(std::nullopt, DocumentValue()); }
    bool string(string_t& value) override {
        if (frames.empty() || !frames.back().keepsText()) return scalar(ValueKind::kText, DocumentValue());
        if (value.size() > kLongestText)
            refuse("holds a text of more than 1 MiB, which no inventory has; export it again");
        return scalar(ValueKind::kText, value);
    }
    bool binary(binary_t&) override { return true; }  // JSON has none

    bool start_object(std::size_t) override {
        checkDepth();
        Frame opened;
        if (frames.empty()) {
            opened.isRoot = true;
        } else if (frames.back().isAtInventory) {
            opened.object = ObjectKind::kInventory;
        } else if (frames.back().isList() && failure.empty()) {
            opened.object = frames.back().elements;
            keepOne();
        } else if (frames.back().inner != nullptr && !frames.back().inner->isList && failure.empty()) {
            opened.object = frames.back().inner->object;
        } else {
            (void)scalar(std::nullopt, DocumentValue());
        }
        opened.isUnchecked = !frames.empty() && (frames.back().isUnchecked || frames.back().isAtInstances);
        frames.push_back(std::move(opened));
        return true;
    }

    bool key(string_t& name) override {
        Frame& frame = frames.back();
        if (frame.isUnchecked) return true;
        if (!frame.names.insert(name).second) refuse("names \"" + name + "\" twice in one object; export it again");
        if (++openNames > kMostElements) refuseAsTooLarge();
        frame.isAtInventory = frame.isRoot && name == "diskmgt";
        frame.isAtSchema = frame.object == ObjectKind::kInventory && name == "schema";
        frame.isAtInstances = frame.object == ObjectKind::kInventory && name == "instances";
        frame.value = nullptr;
        frame.inner = nullptr;
        if (!frame.object) return true;
        for (const KeyDescription& known : descriptionOf(*frame.object).keys)
            if (name == known.name) frame.value = &known;
        for (const InnerDescription& known : descriptionOf(*frame.object).inner)
            if (name == known.name) frame.inner = &known;
        return true;
    }

    bool end_object() override {
        if (frames.back().object) finish(frames.back());
        close();
        return true;
    }

    bool start_array(std::size_t) override {
        checkDepth();
        Frame opened;
        if (!frames.empty() && failure.empty()) {
            const Frame& above = frames.back();
            if (above.inner != nullptr && above.inner->isList) {
                opened.elements = above.inner->object;
            } else if (above.value != nullptr && above.value->kind == ValueKind::kTexts) {
                opened.isTexts = true;
            } else {
                (void)scalar(std::nullopt, DocumentValue());
            }
        }
        opened.isUnchecked = !frames.empty() && (frames.back().isUnchecked || frames.back().isAtInstances);
        frames.push_back(std::move(opened));
        return true;
    }

    bool end_array() override {
        Frame& ended = frames.back();
        if (ended.isTexts && failure.empty()) {
            Frame& owner = frames[frames.size() - 2];
            owner.element.values[owner.value->keptName()] = std::move(ended.texts);
        }
        close();
        return true;
    }

    bool parse_error(std::size_t byte, const std::string&, const nlohmann::detail::exception& error) override {
        if (dynamic_cast<const Json::parse_error*>(&error) == nullptr)  // a number that no type holds
            refuse("holds a number that cannot be read; export it again");
        if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) refuse("is empty; export it again");
        if (byte > text.size()) refuse("ends in the middle or is not JSON; export it again");
        refuse("is not valid JSON (" + position(text, byte) + "); export it again");
    }

    InventoryDocument take() {
        if (!schema || *schema == 0) refuse(kNoInventory);
        if (*schema > kReadableSchema)
            refuse("has the newer form " + std::to_string(*schema) + "; this diskmgt reads form " +
                   std::to_string(kReadableSchema) + ", use a newer one");
        if (!failure.empty()) refuse(failure);
        gathering.finish();
        return std::move(document);
    }

private:
    /// An open object or array. Nothing of one that is neither described, a list nor texts is kept.
    struct Frame {
        bool isRoot = false;
        bool isTexts = false;
        bool isUnchecked = false;            // among the plain instances, whose names are not looked at
        std::optional<ObjectKind> object;    // described
        std::optional<ObjectKind> elements;  // of a list
        std::size_t count = 0;               // of the list's elements so far

        // At the key read last:
        bool isAtInventory = false, isAtSchema = false, isAtInstances = false;
        const KeyDescription* value = nullptr;
        const InnerDescription* inner = nullptr;

        std::unordered_set<std::string> names;
        DocumentElement element;
        std::vector<std::string> texts;
        GatheredMounts mounts;

        bool isList() const { return elements.has_value(); }
        bool keepsText() const { return isTexts || (value != nullptr && value->kind == ValueKind::kText); }
    };

    [[noreturn]] static void refuseAsTooLarge() {
        refuse("has more than " + std::to_string(kMostElements) +
               " elements, which no server has; compare documents of \"diskmgt export json\"");
    }

    void keepOne() {
        if (++document.kept > kMostElements) refuseAsTooLarge();
    }

    void checkDepth() const {
        if (frames.size() >= kDeepest)
            refuse("is nested more than " + std::to_string(kDeepest) + " deep, which no inventory is; export it again");
    }

    void close() {
        openNames -= frames.back().names.size();
        frames.pop_back();
        if (!frames.empty() && frames.back().isList()) ++frames.back().count;
    }

    /// Where the innermost open object or list is; the element of a list that comes next.
    std::string path() const {
        std::string whole = "diskmgt";
        for (const Frame& frame : frames) {
            if (frame.inner != nullptr && &frame != &frames.back()) whole += "." + std::string(frame.inner->name);
            if (frame.isList()) whole += "[" + std::to_string(frame.count) + "]";
        }
        return whole;
    }

    /// The first thing that is wrong counts, once the whole text is known to be JSON and of this form.
    void note(const std::string& what) {
        if (failure.empty()) failure = what + "; export it again";
    }
    void noteWrong(ValueKind kind, const char* name) {
        note("has no " + std::string(wordFor(kind)) + " as " + path() + "." + name);
    }

    /// A value that is no list; of no kind: one that is wanted nowhere.
    bool scalar(std::optional<ValueKind> kind, DocumentValue value) {
        if (frames.empty() || !failure.empty()) return true;
        Frame& frame = frames.back();
        if (frame.isList()) {
            note("has no object as " + path());
        } else if (frame.isTexts) {
            Frame& owner = frames[frames.size() - 2];
            if (kind != ValueKind::kText) {
                const std::string name = owner.value->name;
                note("has no text as " + path() + "." + name);
                return true;
            }
            keepOne();
            frame.texts.push_back(std::move(std::get<std::string>(value)));
        } else if (frame.inner != nullptr) {
            note(std::string(frame.inner->isList ? "has no list as " : "has no object as ") + path() + "." +
                 frame.inner->name);
        } else if (frame.value != nullptr) {
            if (kind != frame.value->kind)
                noteWrong(frame.value->kind, frame.value->name);
            else if (*frame.value->keptName() != '\0')
                frame.element.values[frame.value->keptName()] = std::move(value);
        }
        return true;
    }

    /// An object is complete: what it must hold is there, and it goes where it belongs.
    void finish(Frame& ended) {
        const ObjectDescription& described = descriptionOf(*ended.object);
        ended.inner = nullptr;  // the path ends at the object itself
        if (ended.object == ObjectKind::kInventory && ended.names.count("devices") == 0 && failure.empty())
            note("was written before 1.1.0");
        for (const KeyDescription& known : described.keys)
            if (known.isAlwaysThere && ended.names.count(known.name) == 0) note("lacks " + path() + "." + known.name);
        for (const InnerDescription& known : described.inner)
            if (known.isAlwaysThere && ended.names.count(known.name) == 0) note("lacks " + path() + "." + known.name);
        if (!failure.empty()) return;
        switch (*ended.object) {
            case ObjectKind::kInventory:
                return finishInventory(ended.element);
            case ObjectKind::kGap:
                return finishGap(ended.element);
            case ObjectKind::kDevice:
                return finishDevice(ended);
            case ObjectKind::kFileSystem:
                return gathering.addFileSystem(std::move(ended.element), std::move(ended.mounts));
            case ObjectKind::kMount:
                return frames[frames.size() - 3].mounts.add(std::move(ended.element));  // the list lies between
            default:
                break;
        }
        auto& values = frames[frames.size() - 2].element.values;
        for (auto& [name, value] : ended.element.values) values[name] = std::move(value);
    }

    static std::string& textIn(DocumentElement& element, const char* name) {
        return std::get<std::string>(element.values.at(name));
    }

    void finishDevice(Frame& device) {
        const std::string name = textIn(device.element, "name");
        if (!gathering.addDevice(std::move(device.element), std::move(device.mounts)))
            note("has two devices with the name \"" + name + "\"");
    }

    void finishInventory(DocumentElement& inventory) {
        document.hostName = std::move(textIn(inventory, "hostName"));
        document.collectedAt = std::move(textIn(inventory, "collectedAt"));
        document.isComplete = std::get<bool>(inventory.values.at("complete"));
    }

    void finishGap(DocumentElement& gap) {
        if (textIn(gap, "rule") == "block-list-not-read") document.hasDevices = false;
        if (textIn(gap, "of") == "/proc/self/mountinfo") document.hasMounts = false;
        document.gaps.push_back(std::move(textIn(gap, "text")));
    }

    const std::string& text;
    std::vector<Frame> frames;
    std::size_t openNames = 0;  // in all of them
    std::optional<std::uint64_t> schema;
    std::string failure;  // the first thing that is wrong
    InventoryDocument document;
    ElementGathering gathering;  // into the document
};

}  // namespace

InventoryDocument readInventoryDocument(const std::string& text, std::size_t alreadyKept) {
    InventoryEvents events(text, alreadyKept);
    (void)Json::sax_parse(text, &events);  // what cannot be read throws
    return events.take();
}

}  // namespace diskmgt
