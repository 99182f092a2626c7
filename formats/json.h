// Everything as JSON: UTF-8, bytes that are not become U+FFFD. The forms are stable; other programs rely on them.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {
class JsonWriter;
}

namespace diskmgt::json {

/// A class as it was asked for, and the classes whose instances answer.
using AnsweredClass = std::pair<std::string, std::vector<std::string>>;

/// The document of `get`, handed over in pieces as it grows. The classes must be declared; each mention gives one
/// element.
void publishedInstances(const refhost::ReferenceHost& host, const std::vector<AnsweredClass>& classes,
                        const std::vector<refhost::LogLine>& log, const std::function<void(const std::string&)>& write);

/// One published instance: its path, and the properties that are not null.
void writeInstance(JsonWriter& out, const refhost::Instance& instance);

/// One line of `trace`.
std::string traceLine(std::size_t number, const refhost::TraceEntry& entry);

/// The same values for a terminal: marks of writing direction, which let a name show as another one, as \uNNNN.
std::string forTerminal(const std::string& document);

/// `served`: the classes that the plug-in serves.
std::string classList(const std::vector<refhost::ClassDeclaration>& classes, const std::vector<std::string>& served);
std::string classDetails(const refhost::ClassDeclaration& declaration, const std::vector<std::string>& served);
std::string pluginIdentity(const refhost::PluginIdentity& identity);

}  // namespace diskmgt::json
