// A library that calls what nobody defines.
extern "C" int aFunctionThatNobodyDefines();
extern "C" __attribute__((visibility("default"))) int callIt() { return aFunctionThatNobodyDefines(); }
