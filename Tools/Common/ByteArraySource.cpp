#include "ByteArraySource.h"

#include <cctype>
#include <cstdio>

namespace carvex::tools {

std::string includeGuardFor (const std::string &fileName) {
  std::string guard;
  for (char c : fileName) {
    guard += std::isalnum (static_cast<unsigned char> (c)) ? static_cast<char> (std::toupper (c)) : '_';
  }
  return guard + "_";
}

bool isCIdentifier (const std::string &name) {
  if (name.empty () || std::isdigit (static_cast<unsigned char> (name[0]))) {
    return false;
  }
  for (char c : name) {
    if (!std::isalnum (static_cast<unsigned char> (c)) && c != '_') {
      return false;
    }
  }
  return true;
}

ByteArrayFiles renderByteArray (const std::string &arrayName, const std::string &headerFileName,
                                const std::vector<uint8_t> &payload, const std::string &note) {
  std::vector<uint8_t> bytes;
  const uint32_t       total = static_cast<uint32_t> (payload.size () + 4);
  for (int shift = 0; shift < 32; shift += 8) {
    bytes.push_back (static_cast<uint8_t> (total >> shift));
  }
  bytes.insert (bytes.end (), payload.begin (), payload.end ());
  const std::string size = std::to_string (bytes.size ());

  ByteArrayFiles    files;
  const std::string guard = includeGuardFor (headerFileName);
  files.header = "// " + note + "\n// Generated file: do not edit.\n#ifndef " + guard + "\n#define " + guard +
                 "\n\n#include <stdint.h>\n\n#ifdef __cplusplus\nextern \"C\" {\n#endif\n\n"
                 "// UINT32 length (counting itself), then the package data, as HiiAddPackages takes it.\n"
                 "extern const uint8_t " +
                 arrayName + "[" + size + "];\n\n#ifdef __cplusplus\n}\n#endif\n\n#endif\n";

  std::string body;
  char        hex[8];
  for (size_t i = 0; i < bytes.size (); ++i) {
    body += (i % 16 == 0) ? "  " : " ";
    std::snprintf (hex, sizeof hex, "0x%02X,", bytes[i]);
    body += hex;
    if (i % 16 == 15 || i + 1 == bytes.size ()) {
      body += "\n";
    }
  }
  files.source = "// " + note + "\n// Generated file: do not edit.\n#include \"" + headerFileName +
                 "\"\n\nconst uint8_t " + arrayName + "[" + size + "] = {\n" + body + "};\n";
  return files;
}

} // namespace carvex::tools
