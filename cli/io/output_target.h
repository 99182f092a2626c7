// Where a path leads: which folder, which name in it, and what is there now.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "base/handles.h"

namespace diskmgt {

struct OutputTarget {
    enum class Kind {
        kNew,            // the folder has no such name
        kRegularFile,    // to be replaced
        kAsItIs,         // a device, a pipe, or what another process has open
        kOwnDescriptor,  // what this process has open as `descriptor`: /dev/stdout, /dev/fd/N
    };

    Kind kind = Kind::kNew;
    std::optional<diskmgt_col::UniqueFd> folder;  // for lookups alone; always there
    std::string name;  // in that folder; a link only where another process's descriptor is meant
    int descriptor = -1;
};

/// Follows the path link by link. Throws `WriteError` when it leads nowhere, to a folder, or through a link or to a
/// file that another user has put into a sticky folder where all may write, whatever the kernel is set to allow.
OutputTarget findOutputTarget(const std::string& path);

/// Opens a regular file, device or pipe for writing and changes nothing in it. Throws `WriteError` when that fails or
/// when another user has meanwhile put a file of theirs in its place. May wait for the reader of a pipe.
int openForWriting(const OutputTarget& target);

}  // namespace diskmgt
