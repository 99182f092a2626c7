// Who frees the entry object, and when. This program counts every `new` and `delete` of the process, including the
// library's.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "plugin/host/tal_exception.h"
#include "tests/contract/opened_plugin.h"
#include "tests/contract/slots.h"

namespace {

std::atomic<const void*> watched{nullptr};  // counts the release of this storage until it is allocated again
std::atomic<int> releases{0};

void release(void* storage) noexcept {
    if (storage != nullptr && storage == watched.load()) ++releases;
    std::free(storage);
}

}  // namespace

void* operator new(std::size_t size) {
    void* const storage = std::malloc(size == 0 ? 1 : size);
    if (storage == nullptr) throw std::bad_alloc();
    if (storage == watched.load()) watched = nullptr;
    return storage;
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* storage) noexcept { release(storage); }
void operator delete[](void* storage) noexcept { release(storage); }
void operator delete(void* storage, std::size_t /*size*/) noexcept { release(storage); }
void operator delete[](void* storage, std::size_t /*size*/) noexcept { release(storage); }

namespace contract {
namespace {

using NVEXTAL20::IPluginBasicQueryCallbacks;
using NVEXTAL20::IPluginCallbacks;
using second_host::Services;

class Storage : public ::testing::Test {
protected:
    void SetUp() override {
        releases = 0;
        watched = &loaded.plugin.entry();
    }
    void TearDown() override { watched = nullptr; }  // a later user of the storage is not counted

    /// The entry object is freed already; the library must not be asked for it again.
    void expectFreedOnce() {
        loaded.host.forgetPlugin();
        EXPECT_EQ(releases, 1);
        loaded.plugin.unload();
        EXPECT_EQ(releases, 1) << "freed once more when the library was closed";
    }

    Loaded loaded;
};

TEST_F(Storage, TheEntryObjectLivesUntilTheHostGivesItBack) {
    loaded.request(servedClasses());
    EXPECT_EQ(releases, 0);
    loaded.plugin.entry().PrepareForUnload();
    expectFreedOnce();
}

TEST_F(Storage, PrepareForUnloadIsInSlot6) {
    callSlot(loaded.plugin.entry(), 6, static_cast<void (IPluginCallbacks::*)()>(nullptr));
    expectFreedOnce();
}

TEST_F(Storage, Slot1DestroysAndFrees) {
    callSlot(loaded.plugin.entry(), kDestroyAndFreeSlot, static_cast<void (IPluginCallbacks::*)()>(nullptr));
    expectFreedOnce();
}

TEST_F(Storage, Slot0DestroysOnly) {
    IPluginCallbacks* const entry = &loaded.plugin.entry();
    callSlot(*entry, kDestroySlot, static_cast<void (IPluginCallbacks::*)()>(nullptr));
    EXPECT_EQ(releases, 0);
    operator delete(static_cast<void*>(entry));
    expectFreedOnce();
}

TEST_F(Storage, Slot1OfTheSecondBaseFreesTheWholeObject) {
    auto& secondBase = dynamic_cast<IPluginBasicQueryCallbacks&>(loaded.plugin.entry());
    ASSERT_NE(static_cast<const void*>(&secondBase), watched.load());
    callSlot(secondBase, kDestroyAndFreeSlot, static_cast<void (IPluginBasicQueryCallbacks::*)()>(nullptr));
    expectFreedOnce();
}

/// In a separate process: the load leaves the dynamic loader in an unfinished state.
[[noreturn]] void loadIntoAHostThatThrows() {
    releases = 0;
    Services services;
    services.onRegistration = [](IPluginCallbacks& entry) {
        watched = &entry;
        throw NVEXTAL20::TTALException("not today");
    };
    try {
        const second_host::SecondHost host(std::move(services));
        const OpenedPlugin session;
    } catch (const NVEXTAL20::TTALException&) {
        (void)std::fprintf(stderr, "released %d time(s)\n", releases.load());
    }
    _exit(0);
}

TEST(FailedRegistration, FreesTheStorageOfTheEntryObject) {
    EXPECT_EXIT(loadIntoAHostThatThrows(), ::testing::ExitedWithCode(0), "released 1 time\\(s\\)");
}

}  // namespace
}  // namespace contract
