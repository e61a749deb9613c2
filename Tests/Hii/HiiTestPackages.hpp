// Hand-built HII packages for the tests: string packages with gaps, a small
// IFR writer, device paths and package lists, byte for byte as the form and
// string compilers lay them out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <Uefi.h>
#include <Uefi/UefiInternalFormRepresentation.h>

namespace hiitest {

using Bytes = std::vector<std::uint8_t>;
using Strings = std::vector<std::optional<std::u16string>>;  // ids from 1; nullopt is a gap

// UCS-2 blocks for present ids, one SKIP2 per run of gaps, END.
Bytes StringPackage(const std::string& language, const Strings& strings);
// A string package whose blocks are given raw (END included by the caller).
Bytes StringPackageWithBlocks(const std::string& language, const Bytes& blocks);

class Ifr {
 public:
  Ifr& FormSet(const EFI_GUID& guid, EFI_STRING_ID title);
  Ifr& VarStore(const EFI_GUID& guid, EFI_VARSTORE_ID id, std::uint16_t size, const std::string& name);
  Ifr& VarStoreEfi(const EFI_GUID& guid, EFI_VARSTORE_ID id, std::uint16_t size, std::uint32_t attributes,
                   const std::string& name);
  Ifr& Form(EFI_FORM_ID id, EFI_STRING_ID title);
  Ifr& Label(std::uint16_t number);
  Ifr& Text(EFI_STRING_ID prompt);
  // A one-of of width 1 << sizeFlag with one option, closed by its END.
  Ifr& OneOf(EFI_QUESTION_ID id, EFI_VARSTORE_ID store, std::uint16_t offset, std::uint8_t sizeFlag);
  Ifr& CheckBox(EFI_QUESTION_ID id, EFI_VARSTORE_ID store, std::uint16_t offset);
  Ifr& String(EFI_QUESTION_ID id, EFI_VARSTORE_ID store, std::uint16_t offset, std::uint8_t maxChars);
  Ifr& End();
  Ifr& Raw(const Bytes& bytes);
  Bytes Package() const;   // forms package: header and the opcodes
  const Bytes& Ops() const { return ops_; }

 private:
  Ifr& Op(std::uint8_t opcode, bool scope, const Bytes& body);
  Bytes ops_;
};

Bytes LabelOp(std::uint16_t number);
Bytes VendorDevicePath(const EFI_GUID& guid);  // vendor node and end node
Bytes DevicePathPackage(const Bytes& path);
Bytes PackageList(const EFI_GUID& guid, const std::vector<Bytes>& packages);  // header, packages, END
// The compilers' generated-array form: a UINT32 length (itself included), then the package.
Bytes Generated(const Bytes& package);

std::u16string HexOf(const Bytes& bytes);  // lower case, memory order
std::u16string HeaderText(const EFI_GUID& guid, const std::u16string& name, const Bytes& path);

void Put16(Bytes& bytes, std::uint16_t value);
void Put32(Bytes& bytes, std::uint32_t value);
void PutGuid(Bytes& bytes, const EFI_GUID& guid);

}  // namespace hiitest
