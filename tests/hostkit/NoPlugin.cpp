// A library like any other.
extern "C" __attribute__((visibility("default"))) int SomethingElse() { return 1; }
