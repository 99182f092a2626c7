// How long the keeper waits before it starts a process again.
#include "serve/keeper/child_process.h"

#include <gtest/gtest.h>

using diskmgt::serve::RestartPause;

TEST(RestartPause, GrowsToHalfAMinuteAndIsForgottenAfterALongLife) {
    constexpr std::int64_t kSecond = 1000000000;
    RestartPause pause;
    std::int64_t now = 0, last = 0;
    for (int i = 0; i < 20; ++i) {
        pause.started(now);
        pause.ended(now);
        EXPECT_GE(pause.notBeforeNs() - now, last);
        last = pause.notBeforeNs() - now;
        now = pause.notBeforeNs();
    }
    EXPECT_EQ(last, 30 * kSecond);
    pause.started(now);
    pause.ended(now + 60 * kSecond);
    EXPECT_EQ(pause.notBeforeNs(), now + 60 * kSecond);
}
