// An interface library that uses another C library than the tests. All its operations fail.
__declspec(dllimport) int* _errno(void);

int DllMain(void) {
    return 1;
}

__declspec(dllexport) int vnetx32_open(void) {
    *_errno() = 22;
    return -1;
}
