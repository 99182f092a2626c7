// The commands. Each writes its data, says on standard error what failed, and answers the exit status; what ends it
// early is thrown as `CommandError`.
#pragma once

#include <string>

#include "cli/io/options.h"
#include "text/command_error.h"

namespace diskmgt {

/// Asks the plug-in and makes known what is found; `deliverCheck` writes the verdict.
ExitStatus runCheck(const Options& options);
ExitStatus deliverCheck(const Options& options, const std::string& known, const worker::EarlyEnd& end);
ExitStatus runClasses(const Options& options);
ExitStatus runDiff(const Options& options);
ExitStatus runGet(const Options& options);
ExitStatus runPlugin(const Options& options);
ExitStatus runProbe(const Options& options);
/// Refuses options before the command's name: the rest is done by `becomeEndpoint`.
ExitStatus runServe(const Options& options);
/// Prints the text that the options hold: help or the version.
ExitStatus runShowText(const Options& options);
ExitStatus runTrace(const Options& options);

/// Collects CIM's account and makes it known; writes nothing. The functions below write.
ExitStatus runCollection(const Options& options);
/// The same for an export, whose format is checked first, for an explanation, whose operands are, and for a tree, whose
/// columns are.
ExitStatus runExplainCollection(const Options& options);
ExitStatus runExportCollection(const Options& options);
ExitStatus runTreeCollection(const Options& options);
ExitStatus deliverExplanation(const Options& options, const std::string& known, const worker::EarlyEnd& end);
ExitStatus deliverExport(const Options& options, const std::string& known, const worker::EarlyEnd& end);
ExitStatus deliverTree(const Options& options, const std::string& known, const worker::EarlyEnd& end);

/// Whether the kernel has a device of this name, so that it can be an operand of `tree` without the command's name.
bool namesDevice(const std::string& word);

}  // namespace diskmgt
