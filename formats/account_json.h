// The parts of the document that show the machine and CIM's account of it beside each row.
#pragma once

#include <vector>

#include "formats/json_writer.h"
#include "inventory/server_account.h"

namespace diskmgt::json {

/// The value of "devices". `chosen` picks some by their position; empty: all.
void writeDevices(JsonWriter& out, const ServerAccount& account, const std::vector<bool>& chosen = {});
/// The value of "fileSystems"; with `all` the pseudo ones too. `chosen` picks those with one of these mounts, by
/// position, of any kind; empty: all.
void writeFileSystems(JsonWriter& out, const ServerAccount& account, bool all, const std::vector<bool>& chosen = {});
/// The value of "incomplete".
void writeGaps(JsonWriter& out, const ServerAccount& account);
/// The value of "cimOnly".
void writeCimOnly(JsonWriter& out, const ServerAccount& account);

}  // namespace diskmgt::json
