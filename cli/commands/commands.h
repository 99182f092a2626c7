// The commands. Each writes its data, says on standard error what failed, and answers the exit status; what ends it
// early is thrown as `CommandError`.
#pragma once

#include <string>

#include "cli/io/options.h"
#include "text/command_error.h"

namespace diskmgt {

ExitStatus runClasses(const Options& options);
ExitStatus runDiff(const Options& options);
ExitStatus runExplain(const Options& options);
ExitStatus runExport(const Options& options);
ExitStatus runGet(const Options& options);
ExitStatus runPlugin(const Options& options);
ExitStatus runProbe(const Options& options);
/// Prints the text that the options hold: help or the version.
ExitStatus runShowText(const Options& options);
ExitStatus runTrace(const Options& options);
ExitStatus runTree(const Options& options);

// What is written when time ran out, from what was made known by then.
void deliverKnownExplanation(const Options& options, const std::string& known);
void deliverKnownExport(const Options& options, const std::string& known);
void deliverKnownTree(const Options& options, const std::string& known);

}  // namespace diskmgt
