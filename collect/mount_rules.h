// The decisions about the mount table: how it is opened, which entries count, what is measured for one.
#pragma once

#include <sys/statfs.h>

#include <string>

namespace diskmgt_col {

constexpr const char* kMountTable = "/etc/mtab";
constexpr const char* kMountTableMode = "r+";  // only read, but opened for update

// Keeps lines whole whose source, mount point and options are a page each with every byte escaped as four; a longer
// one loses its end.
constexpr int kMountLineSize = 65536;

/// Whether an earlier entry has the same source; only the first one counts. `kept` has the sources met so far as keys.
template <typename Kept>
bool isLaterMount(const Kept& kept, const std::string& source) {
    return kept.find(source) != kept.end();
}

/// Whether an entry that does not count is measured all the same. Measuring an idle automount mounts it, and the table
/// that is being read goes on with what was mounted; all automounts of a service manager have one source. A later mount
/// of any other type is left alone, because it may not answer.
bool isMeasuredThoughLater(const char* type);

/// Whose figures are taken as those of a mount.
enum class MeasuredPath { kMountPoint, kSource, kNothing };
/// Measures the file system at the mount point or, failing that, the one that holds the source's path. With
/// `kNothing` the statistics mean nothing.
MeasuredPath measureMount(const char* mountPoint, const char* source, struct statfs& statistics);

}  // namespace diskmgt_col
