// What a collection is at, in memory that collector and front share: written without a system call, read on request,
// and still there when the collector has died.
#pragma once

#include <string>

#include "serve/handover/descriptor.h"

namespace diskmgt::serve {

/// The collector's side. Without memory to share nothing is noted, and work goes on.
class ProgressNote {
public:
    ProgressNote();
    ProgressNote(const ProgressNote&) = delete;
    ProgressNote& operator=(const ProgressNote&) = delete;
    ~ProgressNote();

    /// Sealed: the receiver can neither write nor cut it. Negative when there is none.
    int descriptor() const { return file.get(); }
    /// A clause, "serving VEXSG_DiskDrive"; what does not fit is cut off. Empty: at nothing.
    void write(const std::string& clause) noexcept;

private:
    Descriptor file;
    char* text = nullptr;
};

/// The other side. Nothing else is read: a descriptor of another kind could wait for ever.
bool isProgressNote(int descriptor);
/// What the descriptor of a note holds now. Empty without one.
std::string readProgressNote(int descriptor);

}  // namespace diskmgt::serve
