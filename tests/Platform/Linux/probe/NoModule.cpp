// A library without the entry point.
extern "C" int quillmoreNothing() {
    return 0;
}
