// The facts are learned before the fork; what became of the bytes is in the shared account.
#include "worker/standard_output.h"

#include <linux/futex.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "worker/account.h"

namespace diskmgt::standard_output {

namespace {

bool isLearned = false;
bool isTerminalThere = false;
bool isErrorTerminalThere = false;
unsigned columnsThere = 0;

unsigned presentColumns() {
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0U;
}

}  // namespace

void learn() {
    isTerminalThere = ::isatty(STDOUT_FILENO) != 0;
    isErrorTerminalThere = ::isatty(STDERR_FILENO) != 0;
    if (isTerminalThere) columnsThere = presentColumns();
    isLearned = true;
}

bool isTerminal() { return isLearned ? isTerminalThere : ::isatty(STDOUT_FILENO) != 0; }

bool isErrorTerminal() { return isLearned ? isErrorTerminalThere : ::isatty(STDERR_FILENO) != 0; }

unsigned columns() { return isLearned ? columnsThere : presentColumns(); }

int settle() {
    worker::Account& account = worker::account();
    while (isLearned) {
        const std::uint32_t turn = account.relayTurn.load(std::memory_order_acquire);
        if (const int error = account.outputError.load(std::memory_order_acquire)) return error;
        int unread = 0;
        if (::ioctl(STDOUT_FILENO, FIONREAD, &unread) != 0) return 0;
        const bool isUnderWay = unread > 0 || turn % 2 != 0;
        if (!isUnderWay && account.relayTurn.load(std::memory_order_acquire) == turn) break;
        // Returns at once when the turn has changed.
        (void)::syscall(SYS_futex, &account.relayTurn, FUTEX_WAIT, turn, nullptr, nullptr, 0);
    }
    return account.outputError.load(std::memory_order_acquire);
}

int errorBehind(int errorNumber) {
    const int known = worker::account().outputError.load(std::memory_order_acquire);
    return known != 0 ? known : errorNumber;
}

}  // namespace diskmgt::standard_output
