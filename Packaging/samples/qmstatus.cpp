// A sample command-line tool of the catalogue. Without arguments it prints the banner that the
// launcher reads a tool's version from: the text after the word "Limited ".
#include <cstdio>
#include <cstdlib>

int main() {
    const bool printed =
        std::puts("Quillmore Status Tool, (C) Quillmore Limited " QUILLMORE_BANNER_VERSION) >= 0;
    return printed && std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
