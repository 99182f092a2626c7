"""What `compare` is made of: the prepared machine, the commands, the measuring, the document."""
