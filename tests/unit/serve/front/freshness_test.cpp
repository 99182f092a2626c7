// When a request waits, for how long, and what it is answered from.
#include "serve/front/freshness.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "serve/front/snapshot.h"

using namespace diskmgt::serve;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr std::int64_t kMillisecond = 1000000;

/// A front without sockets: time moves when the test says so.
class FreshnessTest : public testing::Test {
protected:
    Freshness& freshness(double maxAgeSeconds = 10, double limitSeconds = 30) {
        made = std::make_unique<Freshness>(
            Freshness::Surroundings{[this] { return now; },
                                    [this](milliseconds delay, std::function<void()> due) {
                                        timers.emplace(now + delay.count() * kMillisecond - early, std::move(due));
                                    },
                                    [this] {
                                        ++asked;
                                        return canBeAsked;
                                    },
                                    [this] { return isAt; },
                                    [this] {
                                        ++ended;
                                        made->collectorWent();
                                    }},
            maxAgeSeconds, limitSeconds);
        return *made;
    }

    void pass(milliseconds time) {
        const std::int64_t until = now + time.count() * kMillisecond;
        while (!timers.empty() && timers.begin()->first <= until) {
            const auto due = timers.extract(timers.begin());
            now = due.key();
            due.mapped()();
        }
        now = until;
    }

    void request(Wanted wanted = Wanted::kDocuments) {
        made->whenFresh(wanted, [this](bool isFresh) { answers.push_back(isFresh); });
    }

    void instancesCame() {
        diskmgt::serve::InstancesHead head;
        head.beginning.steadyNs = now;
        made->instancesCame(std::make_shared<const InstanceSnapshot>(host, std::move(head), ""));
    }

    void collected(const std::string& stall = "") {
        diskmgt::serve::CollectedDocuments documents;
        documents.stall = stall;
        diskmgt::Beginning beginning;
        beginning.steadyNs = now;
        made->collected(std::make_shared<const Snapshot>(beginning, std::move(documents)));
    }

    const refhost::ReferenceHost host = refhost::ReferenceHost(refhost::HostOptions());
    std::int64_t now = 1000 * kMillisecond;
    std::multimap<std::int64_t, std::function<void()>> timers;
    bool canBeAsked = true;
    std::string isAt;
    std::int64_t early = 0;  // nanoseconds by which a timer rings before its time
    int asked = 0, ended = 0;
    std::vector<bool> answers;
    std::unique_ptr<Freshness> made;
};

}  // namespace

TEST_F(FreshnessTest, CollectsOnlyWhenAsked) {
    freshness().collectorCame();
    pass(milliseconds(100000));
    EXPECT_EQ(asked, 0);
}

TEST_F(FreshnessTest, RequestsThatComeMeanwhileShareOneCollection) {
    freshness().collectorCame();
    request();
    request();
    EXPECT_EQ(asked, 1);
    collected();
    EXPECT_THAT(answers, ElementsAre(true, true));
}

TEST_F(FreshnessTest, RequestWithinTheLifetimeIsAnsweredAtOnce) {
    freshness(10).collectorCame();
    request();
    collected();
    pass(milliseconds(10000));
    request();
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(made->ageSeconds(Wanted::kDocuments), 10);
    pass(milliseconds(1));
    request();
    EXPECT_EQ(asked, 2);
    EXPECT_THAT(answers, ElementsAre(true, true));  // the third one waits
}

TEST_F(FreshnessTest, PatienceEndsBeforeASecondHasPassed) {
    freshness().collectorCame();
    request();
    pass(milliseconds(899));
    EXPECT_THAT(answers, IsEmpty());
    pass(milliseconds(1));
    EXPECT_THAT(answers, ElementsAre(false));
    collected();
    EXPECT_THAT(answers, ElementsAre(false));  // once
    EXPECT_NE(made->snapshot(), nullptr);
}

TEST_F(FreshnessTest, InstancesAnswerThoseWhoWantNoMore) {
    freshness().collectorCame();
    request(Wanted::kDocuments);
    request(Wanted::kInstances);
    EXPECT_EQ(asked, 1);
    instancesCame();
    EXPECT_THAT(answers, ElementsAre(true));
    request(Wanted::kInstances);
    EXPECT_THAT(answers, ElementsAre(true, true));
    EXPECT_EQ(made->ageSeconds(Wanted::kDocuments), std::nullopt);
    pass(milliseconds(100));
    collected();
    EXPECT_THAT(answers, ElementsAre(true, true, true));
    EXPECT_EQ(asked, 1);
}

TEST_F(FreshnessTest, CollectorThatEndsAfterTheInstancesLeavesThem) {
    freshness(0).collectorCame();
    request(Wanted::kDocuments);
    instancesCame();
    made->collectorWent();
    pass(milliseconds(1));
    request(Wanted::kInstances);
    pass(milliseconds(900));
    EXPECT_THAT(answers, ElementsAre(false, false));
    EXPECT_NE(made->instances(), nullptr);
    EXPECT_EQ(made->snapshot(), nullptr);
}

TEST_F(FreshnessTest, EachRequestHasItsOwnPatience) {
    freshness().collectorCame();
    request();
    pass(milliseconds(500));
    request();
    pass(milliseconds(400));
    EXPECT_THAT(answers, ElementsAre(false));
    pass(milliseconds(500));
    EXPECT_THAT(answers, ElementsAre(false, false));
}

TEST_F(FreshnessTest, CollectorThatComesLateIsAskedForThoseWhoStillWait) {
    freshness();
    request();
    EXPECT_EQ(asked, 0);
    made->collectorCame();
    EXPECT_EQ(asked, 1);
}

TEST_F(FreshnessTest, CollectionPastTheLimitIsEndedOnceAndSaidWhere) {
    freshness(10, 5).collectorCame();
    request();
    isAt = "serving VEXSG_LogicalDisk";
    pass(milliseconds(4999));
    EXPECT_EQ(ended, 0);
    EXPECT_THAT(made->whyNotFresh(), HasSubstr("collecting for 4 s, serving VEXSG_LogicalDisk"));
    pass(milliseconds(100000));
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(made->whyNotFresh(), "the last collection was given up after 5 s while serving VEXSG_LogicalDisk");
}

TEST_F(FreshnessTest, LimitBelowOneSecondIsSaidAsItIs) {
    freshness(10, 0.5).collectorCame();
    request();
    pass(milliseconds(500));
    EXPECT_EQ(made->whyNotFresh(), "the last collection was given up after 0.5 s");
}

TEST_F(FreshnessTest, LimitOfACollectionThatEndedInTimeDoesNotTouchTheNext) {
    freshness(0, 5).collectorCame();
    request();
    pass(milliseconds(4000));
    collected();
    pass(milliseconds(500));
    request();
    pass(milliseconds(1000));
    EXPECT_EQ(ended, 0);
}

TEST_F(FreshnessTest, TimersDoNotPileUpHoweverManyCollectionsThereWere) {
    freshness(0, 30).collectorCame();
    for (int i = 0; i < 1000; ++i) {
        request();
        pass(milliseconds(1));
        collected();
        pass(milliseconds(1));
        EXPECT_LE(timers.size(), 2U);
    }
    pass(milliseconds(100000));
    EXPECT_EQ(timers.size(), 0U);
    EXPECT_EQ(ended, 0);
}

TEST_F(FreshnessTest, TimersDoNotPileUpWhileACollectionStalls) {
    freshness(0, 3600).collectorCame();
    for (int i = 0; i < 1000; ++i) {
        request();
        pass(milliseconds(1000));
        EXPECT_LE(timers.size(), 2U);
    }
    EXPECT_EQ(answers.size(), 1000U);
    pass(milliseconds(3600000));
    EXPECT_EQ(ended, 1);
}

TEST_F(FreshnessTest, TimerThatRingsEarlyIsSetAgain) {
    early = kMillisecond / 10;
    freshness(0, 5).collectorCame();
    request();
    pass(milliseconds(901));
    EXPECT_THAT(answers, ElementsAre(false));
    pass(milliseconds(4100));
    EXPECT_EQ(ended, 1);
}

TEST_F(FreshnessTest, LimitBeforeTheEndOfPatienceIsKept) {
    freshness(0, 0.1).collectorCame();
    request();
    collected();
    pass(milliseconds(60));
    request();
    pass(milliseconds(60));
    EXPECT_EQ(ended, 0);
    pass(milliseconds(40));
    EXPECT_EQ(ended, 1);
}

TEST_F(FreshnessTest, WithoutALimitACollectionGoesOn) {
    freshness(10, 0).collectorCame();
    request();
    pass(milliseconds(1000000));
    EXPECT_EQ(ended, 0);
}

TEST_F(FreshnessTest, CollectorThatEndedIsNotAskedUntilAnotherCame) {
    freshness().collectorCame();
    request();
    made->collectorWent();
    request();
    EXPECT_EQ(asked, 1);
    EXPECT_THAT(made->whyNotFresh(), HasSubstr("the collector ended"));
    made->collectorCame();
    EXPECT_EQ(asked, 2);
    collected();
    EXPECT_THAT(answers, ElementsAre(true, true));
}

TEST_F(FreshnessTest, WhatTheKeeperSaysComesFirstWhileThereIsNoCollector) {
    freshness().noCollectorBecause("2 processes cannot be ended");
    EXPECT_EQ(made->whyNotFresh(), "2 processes cannot be ended");
    made->collectorCame();
    EXPECT_EQ(made->whyNotFresh(), "nothing was collected yet");
}

TEST_F(FreshnessTest, StallOfTheLastCollectionIsTheReason) {
    freshness(0).collectorCame();
    request();
    collected("No answer came from /media/dead.");
    EXPECT_EQ(made->whyNotFresh(), "No answer came from /media/dead.");
}
