// A time limit for work that may never come back, such as a question to a dead network file system.
#pragma once

#include <string>

namespace diskmgt {

/// Limits what is done while the object lives. It only says so in the worker's account: the process that watches the
/// worker keeps the clock. Past the limit that process says one sentence, leaves this one wherever it is, and ends with
/// `kTimedOut`.
class Deadline {
public:
    struct Watched {
        std::string subject = {};      // continues the sentence "gave up after 30 s while ..."; `nowAt` changes it
        std::string consequence = {};  // continues that sentence, such as ", so ..."
        bool isShown = true;         // on a terminal, when it takes long; false: something else writes there meanwhile
        bool ofPlugin = false;       // the plug-in's code runs, and what it asks the kernel for is named
        bool deliversKnown = false;  // what was made known by then is delivered
    };

    /// 0 seconds: no limit.
    Deadline(double limitSeconds, const Watched& work);
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    /// The work is done. Does not return when giving up has begun.
    ~Deadline();

    /// The work is a step further: its limit counts from now on, for each step anew.
    static void renew();
    /// What the work is at, from any place in it.
    static void nowAt(const std::string& subject);
};

}  // namespace diskmgt
