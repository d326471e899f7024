// An interface library that stands on another C library than the tests do. It fails at everything.
__declspec(dllimport) int* _errno(void);

int DllMain(void) {
    return 1;
}

__declspec(dllexport) int vnetx32_open(void) {
    *_errno() = 22;
    return -1;
}
