// The signals that ask this process to end, and those about its child, taken one by one instead of acting at once.
#pragma once

#include <csignal>
#include <optional>

namespace diskmgt::worker {

class SignalInbox {
public:
    /// Blocks the signals; they come through `next` from now on. Throws `CommandError`.
    SignalInbox();
    SignalInbox(const SignalInbox&) = delete;
    SignalInbox& operator=(const SignalInbox&) = delete;

    /// Readable when `next` has something.
    int descriptor() const { return inbox; }

    struct Arrived {
        int number = 0;
        bool isOfTerminal = false;  // it went to the whole foreground group, the child included
    };
    /// Ignored ones and those that were blocked before are left out. Does not wait.
    std::optional<Arrived> next() const;

    /// For the child: signals act as they did before.
    void restore() const;

    /// Whether the signal is one of those that ask to end.
    static bool asksToEnd(int number);
    /// Ends the process as the signal would have, so that the shell sees it.
    [[noreturn]] void dieBy(int number) const;

private:
    sigset_t before{};
    int inbox = -1;
};

}  // namespace diskmgt::worker
