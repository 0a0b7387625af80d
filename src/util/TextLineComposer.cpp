#include "core/OrvexCore.h"

namespace Orvex {

// Instantiated on this side of the core library's boundary.
void TextLineComposer<char>::flush()
{
    const std::string line = stream.str();
    writeLine(line);
    stream.str(std::string());
    atLineStart = true;
}

} // namespace Orvex
