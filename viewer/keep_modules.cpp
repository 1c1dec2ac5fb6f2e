// In builds with sanitizers only: graphics drivers stay loaded, so that leaks are told with the module that they come
// from.
extern "C" __attribute__((visibility("default"))) int dlclose(void*) {
    return 0;
}
