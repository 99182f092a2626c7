// A shared library like any other: it knows no plug-in manager.
extern "C" __attribute__((visibility("default"))) int answerOfALibrary() { return 42; }
