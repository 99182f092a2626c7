"""The parts of `compare`: the prepared machine, the commands, the measuring, the document."""
