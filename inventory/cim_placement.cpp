#include "inventory/cim_placement.h"

#include <algorithm>

namespace diskmgt {

namespace {

using Kind = PublishedPlace::Kind;

constexpr std::uint64_t kFirstLogical = 5;  // the kernel's number of the first logical partition

bool isSameStart(const PublishedPlace& place, const KernelPlace& kernel) {
    if (!place.start || place.kind == Kind::kLogical) return false;
    if (place.kind == Kind::kGpt) return *place.start == kernel.start;
    return static_cast<std::uint32_t>(*place.start) == static_cast<std::uint32_t>(kernel.start);
}

bool isSame(const PublishedPlace& place, const KernelPlace& kernel) {
    if (place.kind != Kind::kGpt && kernel.number >= kFirstLogical) return false;
    if (place.kind == Kind::kExtended) return isSameStart(place, kernel);
    return isSameStart(place, kernel) && place.size == kernel.size;
}

class Placement {
public:
    Placement(const std::vector<PublishedPlace>& cims, const std::vector<KernelPlace>& kernels)
        : published(cims), kernel(kernels), placed(cims.size()), isTaken(kernels.size()) {}

    std::vector<std::optional<std::size_t>> take() {
        match(isSame);
        matchLogicals();
        match(isSameStart);
        match([](const PublishedPlace& place, const KernelPlace& other) {
            return place.name == other.name && place.size == other.size;
        });
        return std::move(placed);
    }

private:
    template <typename Matches>
    void match(const Matches& matches) {
        for (std::size_t i = 0; i < published.size(); ++i)
            for (std::size_t k = 0; !placed[i] && k < kernel.size(); ++k)
                if (!isTaken[k] && matches(published[i], kernel[k])) put(i, k);
    }

    void matchLogicals() {
        std::vector<std::size_t> chain;  // the kernel's, in the order of the chain
        for (std::size_t k = 0; k < kernel.size(); ++k)
            if (!isTaken[k] && kernel[k].number >= kFirstLogical) chain.push_back(k);
        std::sort(chain.begin(), chain.end(),
                  [this](std::size_t one, std::size_t other) { return kernel[one].number < kernel[other].number; });
        std::size_t next = 0;
        for (std::size_t i = 0; i < published.size(); ++i) {
            if (published[i].kind != Kind::kLogical) continue;
            std::size_t link = next;
            while (link < chain.size() && kernel[chain[link]].size != published[i].size) ++link;
            if (link == chain.size()) continue;
            put(i, chain[link]);
            next = link + 1;
        }
    }

    void put(std::size_t i, std::size_t k) {
        placed[i] = k;
        isTaken[k] = true;
    }

    const std::vector<PublishedPlace>& published;
    const std::vector<KernelPlace>& kernel;
    std::vector<std::optional<std::size_t>> placed;
    std::vector<bool> isTaken;
};

}  // namespace

std::vector<std::optional<std::size_t>> placePartitions(const std::vector<PublishedPlace>& published,
                                                        const std::vector<KernelPlace>& kernels) {
    return Placement(published, kernels).take();
}

}  // namespace diskmgt
