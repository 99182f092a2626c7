// Signals that would end the process, at a moment when a file of it is not yet what it shall be.
#pragma once

#include <array>
#include <csignal>

namespace diskmgt {

/// While it lives, no signal but SIGKILL ends the process, however many come, and the process that watches this one
/// waits before it sends that. The first that came ends it when the object goes. At most one lives at a time.
class Uninterrupted {
public:
    Uninterrupted();
    Uninterrupted(const Uninterrupted&) = delete;
    Uninterrupted& operator=(const Uninterrupted&) = delete;
    ~Uninterrupted();

    /// A signal waits: what can be given up should be.
    bool isAskedToEnd() const noexcept;

private:
    std::array<struct sigaction, NSIG> former{};
    std::array<bool, NSIG> isHeld{};
    sigset_t formerMask{};
};

/// The kernel spares process 1 of a container every signal that it does not handle; this makes them end it too, with
/// the status that a shell reports.
void endOnSignalsAsFirstProcess();

}  // namespace diskmgt
