// Names, passwords, and addresses that guess them.
#include "serve/http/credentials.h"

#include <crypt.h>
#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "serve/http/failed_attempts.h"
#include "serve/http/password_checker.h"
#include "serve/http/settings_error.h"

namespace {

using namespace diskmgt::serve;
using namespace std::chrono_literals;
using ::testing::HasSubstr;

std::string hashOf(const char* password, const char* setting) {
    crypt_data work{};
    return ::crypt_r(password, setting, &work);
}

/// Cheap ones, so that the tests are quick.
std::string twoNames() {
    return "# comment\n\nmonitor:" + hashOf("secret", "$5$rounds=1000$abc") +
           "\r\nroot:" + hashOf("s\xC3\xBC\xC3\x9F:", "$6$rounds=1000$abc");
}

std::string errorOf(const std::string& text) {
    try {
        const Credentials credentials(text);
        return "no error";
    } catch (const SettingsError& error) {
        return error.what();
    }
}

TEST(Credentials, MatchTheirPasswordsAndNoOthers) {
    const Credentials credentials(twoNames());
    EXPECT_TRUE(credentials.matches({"monitor", "secret"}));
    EXPECT_TRUE(credentials.matches({"root", "s\xC3\xBC\xC3\x9F:"}));
    for (const char* wrong : {"", "Secret", "secret ", "secre", "s\xC3\xBC\xC3\x9F:"})
        EXPECT_FALSE(credentials.matches({"monitor", wrong})) << wrong;
    EXPECT_FALSE(credentials.matches({"root", "secret"}));
    EXPECT_FALSE(credentials.matches({"nobody", "secret"}));
    EXPECT_FALSE(credentials.matches({"", ""}));
    EXPECT_FALSE(credentials.matches({"Monitor", "secret"}));
    EXPECT_FALSE(credentials.matches({"monitor", std::string(100000, 'x')}));
}

TEST(Credentials, KnowTheKindsOfHashesThatPeopleHave) {
    for (const char* setting : {"$y$j75$abcdefgh", "$2b$04$abcdefghijklmnopqrstuu", "$2y$04$abcdefghijklmnopqrstuu",
                                "$6$abc", "$5$abc", "$1$abc"}) {
        const Credentials credentials("a:" + hashOf("secret", setting));
        EXPECT_TRUE(credentials.matches({"a", "secret"})) << setting;
        EXPECT_FALSE(credentials.matches({"a", "secreT"})) << setting;
    }
}

TEST(Credentials, AreRefusedByTheNumberOfALineAndNeverByWhatItSays) {
    const std::string good = "a:" + hashOf("x", "$5$rounds=1000$abc") + "\n";
    EXPECT_EQ(errorOf(""), "the credentials name nobody; write lines NAME:HASH");
    EXPECT_EQ(errorOf("# a:b\n\n"), "the credentials name nobody; write lines NAME:HASH");
    EXPECT_EQ(errorOf(good + "\nsecret\n"),
              "line 3 of the credentials is not NAME:HASH; openssl passwd -6 makes a hash");
    EXPECT_EQ(errorOf(":" + hashOf("x", "$5$abc")),
              "line 1 of the credentials is not NAME:HASH; openssl passwd -6 makes a hash");
    EXPECT_THAT(errorOf(good + good), HasSubstr("line 2 of the credentials has a name that an earlier line has too"));
    for (const char* hash : {"", "secret", "$apr1$abc$def", "$0$abc", "{SHA}abc", "*", "!", "abJnggxhB/yWI"})
        EXPECT_EQ(errorOf("b:" + std::string(hash)),
                  "line 1 of the credentials has a hash that crypt(3) does not know here; openssl passwd -6 makes one "
                  "that it knows")
            << hash;
}

TEST(BasicCredentials, AreReadFromTheHeader) {
    NameAndPassword given;
    ASSERT_TRUE(readBasicCredentials("Basic bW9uaXRvcjpzZWNyZXQ=", given));
    EXPECT_EQ(given.name, "monitor");
    EXPECT_EQ(given.password, "secret");
    ASSERT_TRUE(readBasicCredentials("bAsIc  YTpiOmM=", given));  // the password has a colon
    EXPECT_EQ(given.name, "a");
    EXPECT_EQ(given.password, "b:c");
    ASSERT_TRUE(readBasicCredentials("Basic Og==", given));
    EXPECT_EQ(given.name, "");
    EXPECT_EQ(given.password, "");
}

TEST(BasicCredentials, AreNothingElse) {
    NameAndPassword given;
    for (const char* header : {"", "Basic", "Basic ", "Bearer YTpi", "Basic YTpi=", "Basic YTp",
                               "Basic Y===", "Basic ====", "Basic YTpi YTpi", "Basic YT!i",
                               "Basic YWI=", "Basic YQA6Yg==", "Basic YTpi\tYTp"})
        EXPECT_FALSE(readBasicCredentials(header, given)) << header;
}

TEST(PasswordChecker, AnswersFromAThreadOfItsOwn) {
    const auto credentials = std::make_shared<const Credentials>(twoNames());
    PasswordChecker checker(4);
    checker.start();
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<bool> results;
    for (const char* password : {"secret", "wrong"})
        ASSERT_TRUE(
            checker.check(credentials, {"monitor", password}, [&, test = std::this_thread::get_id()](bool isRight) {
                EXPECT_NE(std::this_thread::get_id(), test);
                const std::lock_guard<std::mutex> lock(mutex);
                results.push_back(isRight);
                changed.notify_all();
            }));
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return results.size() == 2; });
    EXPECT_EQ(results, (std::vector<bool>{true, false}));
}

TEST(PasswordChecker, TakesOnlySoManyAndDropsThemAtItsEnd) {
    const auto credentials = std::make_shared<const Credentials>(twoNames());
    int answered = 0;
    {
        PasswordChecker checker(3);  // not started: all wait
        for (int number = 0; number < 3; ++number)
            EXPECT_TRUE(checker.check(credentials, {"monitor", "secret"}, [&](bool) { ++answered; }));
        EXPECT_FALSE(checker.check(credentials, {"monitor", "secret"}, [&](bool) { ++answered; }));
    }
    EXPECT_EQ(answered, 0);
    EXPECT_EQ(credentials.use_count(), 1);
}

class FailedAttemptsTest : public ::testing::Test {
protected:
    FailedAttempts attempts{{3, 2, 1000ms, 8000ms}};
    FailedAttempts::Moment now{1000h};
};

TEST_F(FailedAttemptsTest, AreForgivenAFewTimes) {
    attempts.failed("a", now);
    attempts.failed("a", now);
    EXPECT_EQ(attempts.pause("a", now), 0ms);
}

TEST_F(FailedAttemptsTest, ThenEachDoublesThePauseUpToTheLongest) {
    attempts.failed("a", now);
    attempts.failed("a", now);
    for (const auto pause : {1000ms, 2000ms, 4000ms, 8000ms, 8000ms, 8000ms}) {
        attempts.failed("a", now);
        EXPECT_EQ(attempts.pause("a", now), pause);
        EXPECT_EQ(attempts.pause("b", now), 0ms);
        now += pause;
        EXPECT_EQ(attempts.pause("a", now), 0ms);
    }
    for (int more = 0; more < 1000; ++more) attempts.failed("a", now);
    EXPECT_EQ(attempts.pause("a", now), 8000ms);
}

TEST_F(FailedAttemptsTest, AreForgottenAfterASuccessOrALongTime) {
    for (int number = 0; number < 3; ++number) attempts.failed("a", now);
    attempts.succeeded("a");
    EXPECT_EQ(attempts.pause("a", now), 0ms);
    for (int number = 0; number < 3; ++number) attempts.failed("a", now);
    now += 80'001ms;
    attempts.failed("a", now);
    EXPECT_EQ(attempts.pause("a", now), 0ms) << "the first failure again";
}

TEST_F(FailedAttemptsTest, OfManyAddressesTakeNoMoreRoomThanAllowed) {
    for (int number = 0; number < 3; ++number) attempts.failed("guesser", now);
    for (int address = 0; address < 1000; ++address)
        attempts.failed(std::to_string(address), now + std::chrono::milliseconds(address));
    EXPECT_LE(attempts.size(), 3U);
    EXPECT_GT(attempts.pause("guesser", now), 0ms) << "the one that failed most is remembered";
}

}  // namespace
