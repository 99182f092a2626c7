// Everything as JSON: UTF-8, bytes that are not become U+FFFD. The forms are stable; other programs rely on them.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "base/property_map.h"
#include "refhost/api/reference_host.h"

namespace diskmgt {
class JsonWriter;
}

namespace diskmgt::json {

/// The document of `get`, handed over in pieces as it grows. The classes must be declared; each mention gives one
/// element.
void publishedInstances(const refhost::ReferenceHost& host, const std::vector<std::string>& classNames,
                        const std::vector<refhost::LogLine>& log, const std::function<void(const std::string&)>& write);

/// One published instance: its path, and the properties that are not null.
void writeInstance(JsonWriter& out, const refhost::Instance& instance);

/// One line of `trace`.
std::string traceLine(std::size_t number, const refhost::TraceEntry& entry);

/// One partition of `probe`: [["name","value"],...] without a line end, in map order.
std::string pairs(const diskmgt_col::PropertyMap& partition);
/// A text in quotes.
std::string quoted(const std::string& text);

/// The same values for a terminal: marks of writing direction, which let a name show as another one, as \uNNNN.
std::string forTerminal(const std::string& document);

std::string classList(const std::vector<refhost::ClassDeclaration>& classes);
std::string classDetails(const refhost::ClassDeclaration& declaration);
std::string pluginIdentity(const refhost::PluginIdentity& identity);

}  // namespace diskmgt::json
