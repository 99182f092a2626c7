// A regular file that appears whole or not at all.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "base/handles.h"
#include "cli/io/output_target.h"

namespace diskmgt {

class Uninterrupted;

/// The text has no name before it is complete, so whatever ends the process leaves nothing behind: it lies in a file
/// without a name beside the target, or in memory where the file system has no such files. Every operation throws
/// `WriteError`.
class ReplacementFile {
public:
    /// A new or a regular file. Fails early when neither the folder nor the file itself may be written.
    explicit ReplacementFile(OutputTarget target);
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;
    ~ReplacementFile();

    /// Where the text goes.
    std::FILE* stream() const noexcept { return text; }

    /// The text is complete: puts it in the target's place, or into the target itself where only that is possible.
    void finish();

private:
    void openText();
    bool giveNameToUnnamed();
    bool replaceByCopy(const Uninterrupted& window);
    bool renameToTarget(const std::string& temporary);
    bool linkAs(const std::string& name) const;
    void writeInPlace();

    OutputTarget target;
    std::optional<diskmgt_col::UniqueFd> former;  // the file that is there, open for writing; empty: none is
    std::FILE* text = nullptr;
    bool isUnnamed = false;    // false: the text is in memory
    bool isFolderOpen = true;  // false: no file can be made in the folder
};

}  // namespace diskmgt
