// Documents that tests write and compare.
#pragma once

#include <string>

namespace support {

// The document's last part, behind its mark, is this. With KESWSEC_WRITE_DOCS set in the environment it is written
// anew.
void expectDocument(const std::string& name, const std::string& written);

} // namespace support
