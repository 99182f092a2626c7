// The decisions about the mount table: how it is opened, which entries count, what is measured for each.
#pragma once

#include <sys/statfs.h>

#include <string>

namespace diskmgt_col {

constexpr const char* kMountTable = "/etc/mtab";
constexpr const char* kMountTableMode = "r+";  // only read, but opened for update

// Enough for a line whose source, mount point and options are a page each, with every byte escaped as four. A longer
// line loses its end.
constexpr int kMountLineSize = 65536;

/// Whether an earlier entry has the same source; only the first one counts. The keys of `kept` are the sources so far.
template <typename Kept>
bool isLaterMount(const Kept& kept, const std::string& source) {
    return kept.find(source) != kept.end();
}

/// Whether an entry that does not count is still measured. Measuring an idle automount mounts it, and the new mount
/// then appears in the table that is being read; all automounts of a service manager share one source. Later mounts of
/// other types are not measured, because they may not answer.
bool isMeasuredThoughLater(const char* type);

/// The path whose figures count as those of a mount.
enum class MeasuredPath { kMountPoint, kSource, kNothing };
/// Measures the file system at the mount point or, failing that, the one that holds the source's path. With
/// `kNothing` the statistics mean nothing.
MeasuredPath measureMount(const char* mountPoint, const char* source, struct statfs& statistics);

}  // namespace diskmgt_col
