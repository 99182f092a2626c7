// The rows of the tables of `explain`, with repeats folded.
#pragma once

#include <string>
#include <vector>

#include "cli/explain/explanation.h"

namespace diskmgt {

using Cells = std::vector<std::string>;

/// Device, Drive, Partitions, Use, Content, Why. Neighbours of one kind with the same cells are one row; so are loops
/// without a file and RAM disks, wherever they are.
std::vector<Cells> deviceRows(const std::vector<DeviceExplanation>& devices);

struct MountRows {
    std::vector<Cells> rows;             // Source, Mounted on, Type, Logical disk, Why
    std::vector<std::string> sentences;  // of those that are counted
};
/// Mounts of devices, and those of which something is to be said; the usual rest is counted.
MountRows mountRows(const std::vector<MountExplanation>& mounts);

/// "yes", "no" or "?".
const char* answerCell(const Finding& finding);
/// The brief reasons of several findings, each rule once.
std::string briefly(const std::vector<const Finding*>& findings);

}  // namespace diskmgt
