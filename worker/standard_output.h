// Standard output as it is behind the pipe that a worker writes to.
#pragma once

namespace diskmgt::standard_output {

/// Looks at the real one; what is found goes for the processes that are forked from now on.
void learn();

bool isTerminal();
/// Of standard error.
bool isErrorTerminal();
/// Columns of the terminal; 0: it does not tell.
unsigned columns();

/// Waits until all that this worker wrote has been written to the real one. 0, or why that failed.
int settle();
/// The reason behind an error of this worker's write: the pipe only says that its reader is gone.
int errorBehind(int errorNumber);

}  // namespace diskmgt::standard_output
