// A library that calls an undefined function.
extern "C" int aFunctionThatNobodyDefines();
extern "C" __attribute__((visibility("default"))) int callIt() { return aFunctionThatNobodyDefines(); }
