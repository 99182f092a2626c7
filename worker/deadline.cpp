#include "worker/deadline.h"

#include <cstdio>

#include "worker/account.h"

namespace diskmgt {

Deadline::Deadline(double limitSeconds, const Watched& work) {
    worker::Stage stage;
    stage.limitSeconds = limitSeconds;
    stage.isShown = work.isShown;
    stage.namesCall = work.ofPlugin;
    stage.ofPlugin = work.ofPlugin;
    stage.deliversKnown = work.deliversKnown;
    (void)std::snprintf(stage.consequence, sizeof stage.consequence, "%s", work.consequence.c_str());
    worker::account().enter(stage, work.subject);
}

Deadline::~Deadline() { worker::account().leave(); }

void Deadline::renew() { worker::account().renewLimit(); }

void Deadline::nowAt(const std::string& subject) { worker::account().nowAt(subject); }

}  // namespace diskmgt
