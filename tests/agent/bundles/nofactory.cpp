// A library that is no bundle: it exports something, but no factory.
extern "C" __attribute__((visibility("default"))) int qv_test_something() {
    return 1;
}
