// signpackage: signs packages for updateqm and verifies them; see PackageSigning.h.
#include <iostream>

#include "UpdateTool/Signing/PackageSigning.h"

int main(int argumentCount, char** arguments) {
    using namespace quillmore::updatetool;
    return signPackage(Arguments(arguments + (argumentCount > 0), arguments + argumentCount),
                       std::cerr);
}
