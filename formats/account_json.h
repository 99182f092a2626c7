// The parts of the document that show the machine and CIM's account of it beside each row.
#pragma once

#include "formats/json_writer.h"
#include "inventory/server_account.h"

namespace diskmgt::json {

/// The value of "devices".
void writeDevices(JsonWriter& out, const ServerAccount& account);
/// The value of "fileSystems"; with `all` the pseudo ones too.
void writeFileSystems(JsonWriter& out, const ServerAccount& account, bool all);
/// The value of "incomplete".
void writeGaps(JsonWriter& out, const ServerAccount& account);
/// The value of "cimOnly".
void writeCimOnly(JsonWriter& out, const ServerAccount& account);

}  // namespace diskmgt::json
