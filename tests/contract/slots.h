// Virtual tables in memory: slots are read and called by number, without the compiler's dispatch. Holds for
// the Itanium C++ ABI, where a virtual destructor takes two slots: destroy, and destroy and free.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Clang's sanitizer compares the types of functions called by address, and a member function has another type.
#if defined(__clang__)
#define CONTRACT_CALLS_BY_ADDRESS __attribute__((no_sanitize("function")))
#else
#define CONTRACT_CALLS_BY_ADDRESS
#endif

namespace contract {

/// A pointer to a member function in memory: an address, or the offset of a slot plus one.
struct MemberPointer {
    std::uintptr_t target;
    std::ptrdiff_t adjustment;
};

constexpr std::size_t kDestroySlot = 0;
constexpr std::size_t kDestroyAndFreeSlot = 1;

/// The table that the object's first word points to.
inline const std::uintptr_t* tableOf(const void* object) {
    const std::uintptr_t* table = nullptr;
    std::memcpy(&table, object, sizeof table);
    return table;
}

/// Offset to the complete object, in bytes: negative in a second base.
inline std::ptrdiff_t offsetToWhole(const void* object) { return static_cast<std::ptrdiff_t>(tableOf(object)[-2]); }

/// The type of the function in a member operation's slot: the object is its first argument.
template <typename Operation>
struct FunctionOf;
template <typename Class, typename Result, typename... Parameters>
struct FunctionOf<Result (Class::*)(Parameters...)> {
    using Type = Result (*)(Class*, Parameters...);
};

/// Calls slot `slot` of the object as the operation whose signature `Operation` has, a pointer to a member function.
template <typename Operation, typename Object, typename... Arguments>
CONTRACT_CALLS_BY_ADDRESS decltype(auto) callSlot(Object& object, std::size_t slot, Operation,
                                                  Arguments&&... arguments) {
    typename FunctionOf<Operation>::Type function = nullptr;
    static_assert(sizeof function == sizeof(std::uintptr_t));
    std::memcpy(&function, &tableOf(&object)[slot], sizeof function);
    return function(&object, static_cast<Arguments&&>(arguments)...);
}

/// The slot of a virtual operation, as the compiler numbers it.
template <typename Operation>
std::size_t slotOf(Operation operation) {
    MemberPointer pointer;
    static_assert(sizeof operation == sizeof pointer);
    std::memcpy(&pointer, &operation, sizeof pointer);
    return (pointer.target - 1) / sizeof(void*);
}

}  // namespace contract
