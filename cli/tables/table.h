// Tables and trees for people. What is not printable is escaped as \xNN.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/io/options.h"
#include "refhost/api/reference_host.h"

namespace diskmgt {

struct TableStyle {
    bool isColored = false;
    bool isAscii = true;  // trees drawn without line characters
};

/// Takes up the character set of the environment's locale for the whole process, and decides on colour: only for a
/// terminal and without NO_COLOR, unless `choice` says otherwise.
TableStyle chooseStyle(ColorChoice choice, bool toTerminal);

/// The title of a table, without a line end: bold where colours are welcome.
std::string title(const std::string& text, const TableStyle& style);

/// A title line, and a column for each of the properties at the positions `shown`. A property whose numbers have
/// names is followed by a column with the names.
std::string instanceTable(const refhost::ClassDeclaration& declaration, const std::vector<refhost::Instance>& instances,
                          const std::vector<std::size_t>& shown, const TableStyle& style);

/// `served`: the classes that are marked as served.
std::string classTree(const std::vector<refhost::ClassDeclaration>& classes, const std::vector<std::string>& served,
                      const TableStyle& style);
std::string classTable(const refhost::ClassDeclaration& declaration, const TableStyle& style);
std::string pluginTable(const refhost::PluginIdentity& identity, const TableStyle& style);

}  // namespace diskmgt
