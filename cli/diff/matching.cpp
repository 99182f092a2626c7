#include "cli/diff/matching.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <unordered_set>

namespace diskmgt {

namespace {

using Texts = std::vector<std::string>;
using Elements = std::vector<DocumentElement>;

/// Above this, searching for equals costs too much; elements of one name are paired in order.
constexpr std::size_t kThoroughlyMatched = 512;

std::string textOf(const DocumentElement& element, const char* name) {
    const auto* const text = element.find<std::string>(name);
    return text == nullptr ? std::string() : *text;
}

/// An identity belongs to a kind: a hidden path has that of its disk.
std::string identityOf(const DocumentElement& element, const char* name) {
    std::string identity = textOf(element, name);
    if (!identity.empty()) identity += '\0' + textOf(element, "kind");
    return identity;
}

const Texts& placesOf(const DocumentElement& element) {
    static const Texts none;
    const auto* const places = element.find<Texts>(kPlaces);
    return places == nullptr ? none : *places;
}

std::string joinedKey(const Texts& texts) {
    std::string key;
    for (const std::string& text : texts) key.append(text).push_back('\0');
    return key;
}

}  // namespace

/// Pairs elements of one kind, step by step: what an earlier step has paired stays.
class MatchingOfKind {
public:
    using Key = std::function<std::string(const DocumentElement&)>;  // empty: the element has none
    using Pair = Matching::Pair;

    MatchingOfKind(const Elements& oldElements, const Elements& newElements)
        : olds(oldElements), news(newElements), oldPartner(olds.size()), newTaken(news.size()) {}

    /// Elements that have the identity are other ones where it differs, also in later steps.
    void byIdentity(const char* name) {
        identities.push_back({name, {}, {}});
        Identity& identity = identities.back();
        count(olds, name, identity.inOld);
        count(news, name, identity.inNew);
        const auto key = [name](const DocumentElement& element) { return identityOf(element, name); };
        byUnique(key, key);
    }

    /// Pairs those whose key is there once on each side, but for those that an identity tells apart.
    void byUnique(const Key& oldKey, const Key& newKey) {
        const auto byOld = firstOf(olds, oldKey);
        const auto byNew = firstOf(news, newKey);
        for (const auto& [key, old] : byOld) {
            const auto now = byNew.find(key);
            if (now == byNew.end() || !old || !now->second) continue;
            if (!oldPartner[*old] && !newTaken[*now->second] && !areOthers(olds[*old], news[*now->second]))
                pair(*old, *now->second);
        }
    }

    /// Equal names: with their equals first, then in their order.
    void byName(const std::function<bool(const DocumentElement&, const DocumentElement&)>& isPossible) {
        std::unordered_map<std::string_view, std::pair<std::vector<std::size_t>, std::vector<std::size_t>>> named;
        for (std::size_t i = 0; i < olds.size(); ++i)
            if (!oldPartner[i]) named[olds[i].name].first.push_back(i);
        for (std::size_t i = 0; i < news.size(); ++i)
            if (!newTaken[i]) named[news[i].name].second.push_back(i);
        for (const auto& [name, sides] : named) {
            const auto& [oldOnes, newOnes] = sides;
            if (oldOnes.size() + newOnes.size() <= kThoroughlyMatched)
                for (const bool onlyEqual : {true, false}) pairAny(oldOnes, newOnes, onlyEqual, isPossible);
            else
                for (std::size_t i = 0; i < std::min(oldOnes.size(), newOnes.size()); ++i)
                    if (isPair(oldOnes[i], newOnes[i], isPossible)) pair(oldOnes[i], newOnes[i]);
        }
    }

    std::vector<Pair> take() const {
        std::vector<Pair> pairs;
        for (std::size_t i = 0; i < olds.size(); ++i)
            pairs.emplace_back(&olds[i], oldPartner[i] ? &news[*oldPartner[i]] : nullptr);
        for (std::size_t i = 0; i < news.size(); ++i)
            if (!newTaken[i]) pairs.emplace_back(nullptr, &news[i]);
        return pairs;
    }

    /// Whether an identity that both have, each once in its document, differs. The first that both have decides.
    bool areOthers(const DocumentElement& old, const DocumentElement& now) const {
        for (const Identity& identity : identities) {
            const std::string one = identityOf(old, identity.name), other = identityOf(now, identity.name);
            if (one.empty() || other.empty() || identity.inOld.at(one) != 1 || identity.inNew.at(other) != 1) continue;
            return one != other;
        }
        return false;
    }

private:
    using Counts = std::unordered_map<std::string, std::size_t>;
    struct Identity {
        const char* name;
        Counts inOld, inNew;
    };

    static void count(const Elements& elements, const char* name, Counts& counts) {
        for (const DocumentElement& element : elements)
            if (std::string identity = identityOf(element, name); !identity.empty()) ++counts[std::move(identity)];
    }

    /// For each key the element that has it; absent: several have.
    static std::unordered_map<std::string, std::optional<std::size_t>> firstOf(const Elements& elements,
                                                                               const Key& keyOf) {
        std::unordered_map<std::string, std::optional<std::size_t>> byKey;
        for (std::size_t i = 0; i < elements.size(); ++i) {
            std::string key = keyOf(elements[i]);
            if (key.empty()) continue;
            const auto [place, isNew] = byKey.try_emplace(std::move(key), i);
            if (!isNew) place->second.reset();
        }
        return byKey;
    }

    bool isPair(std::size_t old, std::size_t now,
                const std::function<bool(const DocumentElement&, const DocumentElement&)>& isPossible) const {
        return !oldPartner[old] && !newTaken[now] && !areOthers(olds[old], news[now]) &&
               isPossible(olds[old], news[now]);
    }

    void pairAny(const std::vector<std::size_t>& oldOnes, const std::vector<std::size_t>& newOnes, bool onlyEqual,
                 const std::function<bool(const DocumentElement&, const DocumentElement&)>& isPossible) {
        for (const std::size_t old : oldOnes)
            for (const std::size_t now : newOnes)
                if ((!onlyEqual || olds[old].values == news[now].values) && isPair(old, now, isPossible))
                    pair(old, now);
    }

    void pair(std::size_t old, std::size_t now) {
        oldPartner[old] = now;
        newTaken[now] = true;
    }

    const Elements& olds;
    const Elements& news;
    std::vector<std::optional<std::size_t>> oldPartner;
    std::vector<bool> newTaken;
    std::vector<Identity> identities;
};

Matching::Matching(const InventoryDocument& before, const InventoryDocument& after) {
    const auto any = [](const DocumentElement&, const DocumentElement&) { return true; };
    const auto onTheSame = [this](const DocumentElement& old, const DocumentElement& now) {
        return isOnTheSame(old, now);
    };
    const auto take = [this](ElementKind kind, const MatchingOfKind& matched) {
        auto& pairs = found[static_cast<std::size_t>(kind)];
        pairs = matched.take();
        if (kind == ElementKind::kFileSystem) return;
        for (const auto& [old, now] : pairs)
            if (old != nullptr) newNames.emplace(old->name, now == nullptr ? std::string_view() : now->name);
    };

    MatchingOfKind drives(before.of(ElementKind::kDrive), after.of(ElementKind::kDrive));
    drives.byIdentity("wwid");
    drives.byIdentity("serial");
    drives.byName(any);
    take(ElementKind::kDrive, drives);

    MatchingOfKind volumes(before.of(ElementKind::kVolume), after.of(ElementKind::kVolume));
    volumes.byName(any);
    take(ElementKind::kVolume, volumes);

    MatchingOfKind partitions(before.of(ElementKind::kPartition), after.of(ElementKind::kPartition));
    partitions.byIdentity("partition.uuid");
    const auto place = [](const Texts& on, const DocumentElement& partition) {
        const auto* const number = partition.find<std::uint64_t>("partition.number");
        return on.empty() || number == nullptr ? std::string() : joinedKey(on) + std::to_string(*number);
    };
    partitions.byUnique([&](const DocumentElement& old) { return place(placesNow(old), old); },
                        [&](const DocumentElement& now) { return place(placesOf(now), now); });
    partitions.byName(onTheSame);
    take(ElementKind::kPartition, partitions);

    MatchingOfKind fileSystems(before.of(ElementKind::kFileSystem), after.of(ElementKind::kFileSystem));
    fileSystems.byIdentity("uuid");
    fileSystems.byUnique([&](const DocumentElement& old) { return joinedKey(placesNow(old)); },
                         [&](const DocumentElement& now) { return joinedKey(placesOf(now)); });
    const auto mountPoint = [](const DocumentElement& element) {
        return element.isMounted() ? element.name : std::string();
    };
    fileSystems.byUnique(mountPoint, mountPoint);
    fileSystems.byName(any);
    take(ElementKind::kFileSystem, fileSystems);
}

/// Empty when one of them is not there any more.
std::vector<std::string> Matching::placesNow(const DocumentElement& old) const {
    Texts places;
    for (const std::string& place : placesOf(old)) {
        const auto known = newNames.find(place);
        const std::string_view name = known == newNames.end() ? place : known->second;
        if (name.empty()) return {};
        places.emplace_back(name);
    }
    std::sort(places.begin(), places.end());
    return places;
}

bool Matching::isOnTheSame(const DocumentElement& old, const DocumentElement& now) const {
    return placesNow(old) == placesOf(now) && placesOf(old).size() == placesOf(now).size();
}

}  // namespace diskmgt
