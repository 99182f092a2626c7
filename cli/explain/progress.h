// Progress: what is being asked at the moment, for the one who gives up on it from another thread.
#pragma once

#include <mutex>
#include <string>

namespace diskmgt_cli {

class Progress {
public:
    void nowAt(std::string step) {
        const std::lock_guard<std::mutex> hold(lock);
        current = std::move(step);
    }
    std::string step() const {
        const std::lock_guard<std::mutex> hold(lock);
        return current;
    }

private:
    mutable std::mutex lock;
    std::string current;
};

}  // namespace diskmgt_cli
