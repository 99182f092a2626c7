// An ordinary shared library: it does not register a plug-in.
extern "C" __attribute__((visibility("default"))) int answerOfALibrary() { return 42; }
