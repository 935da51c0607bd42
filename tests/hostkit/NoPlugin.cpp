// A library that is not a plug-in.
extern "C" __attribute__((visibility("default"))) int SomethingElse() { return 1; }
