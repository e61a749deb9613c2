// Passphrase files as the controller hands them back, and passphrases as a
// caller hands them over. The first byte chooses: even, the reader over a
// file whose bytes follow (any length; the second byte picks how each of
// the three reads answers); odd, the writer with the rest as UCS-2 text,
// one character per byte pair.
#include <algorithm>
#include <cstring>
#include <vector>

#include <Bmc/PassphraseFile.h>
#include <Library/BaseLib.h>
#include <Protocol/VeskCommands.h>

#include "FakeUefi.hpp"
#include "FuzzSupport.hpp"

namespace {

using carvex::fuzz::Check;

struct Controller {
  std::vector<std::uint8_t> file;
  std::uint8_t answers = 0;  // two bits per read: success, device error, not found, other
  unsigned reads = 0;
  std::vector<std::uint8_t> written;
};

Controller* gController = nullptr;

EFI_STATUS EFIAPI ReadFile(VESK_COMMANDS_PROTOCOL*, UINT8 fileId, UINTN offset, UINTN size, VOID* buffer,
                           UINTN* bytesRead, UINTN, UINT8* completionCode, BOOLEAN) {
  Check(fileId == VESK_FILE_DCPMM_PASSPHRASE && offset == 0, "reads file 47 from its start");
  *completionCode = 0;
  const unsigned answer = (gController->answers >> (2 * (gController->reads++ % 4))) & 3;
  if (answer == 1) return EFI_DEVICE_ERROR;
  if (answer == 2) return EFI_NOT_FOUND;
  // The controller copies what it has, up to what was asked.
  const std::size_t count = std::min<std::size_t>(size, gController->file.size());
  std::memcpy(buffer, gController->file.data(), count);
  *bytesRead = count;
  return answer == 3 ? EFI_PROTOCOL_ERROR : EFI_SUCCESS;
}

EFI_STATUS EFIAPI WriteFile(VESK_COMMANDS_PROTOCOL*, UINT8 fileId, UINTN offset, VOID* buffer, UINTN* size, UINTN,
                            UINT8*, BOOLEAN) {
  Check(fileId == VESK_FILE_DCPMM_PASSPHRASE && offset == 0, "writes file 47 from its start");
  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  gController->written.assign(bytes, bytes + *size);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI AddAuditLog(VESK_COMMANDS_PROTOCOL*, UINT16, CHAR8*, CHAR8*, UINT64*, UINT8) { return EFI_SUCCESS; }

EFI_STATUS EFIAPI Stall(UINTN) { return EFI_SUCCESS; }

struct Platform {
  Platform() {
    vesk.ReadFile = ReadFile;
    vesk.WriteFile = WriteFile;
    vesk.AddAuditLog = AddAuditLog;
    uefi.bootServices.Stall = Stall;
    uefi.Install(uefi.NewHandle(), gTavrilVeskCommandsProtocolGuid, &vesk);
  }
  FakeUefi uefi;
  VESK_COMMANDS_PROTOCOL vesk{};
};

Platform& ThePlatform() {
  static Platform* platform = new Platform();  // the driver keeps the located protocol for the process
  return *platform;
}

void Reader(const std::uint8_t* data, std::size_t size) {
  Controller controller;
  controller.answers = size > 0 ? data[0] : 0;
  if (size > 1) controller.file.assign(data + 1, data + size);
  gController = &controller;

  CHAR16* passphrase = reinterpret_cast<CHAR16*>(1);
  const EFI_STATUS status = GetDcpmmPassphraseFile(&passphrase);
  if (EFI_ERROR(status)) {
    Check(passphrase == nullptr, "a failed read hands out no passphrase");
  } else {
    Check(passphrase != nullptr, "a successful read hands out the passphrase");
    const std::size_t length = StrnLenS(passphrase, 33);
    Check(length >= 1 && length <= 32, "1 to 32 characters");
    for (std::size_t i = 0; i < length; ++i) {
      Check(i < controller.file.size() && passphrase[i] == controller.file[i], "each byte widened as it stands");
    }
    ThePlatform().uefi.bootServices.FreePool(passphrase);
  }
  Check(controller.reads >= 1 && controller.reads <= 3, "one to three reads");
  gController = nullptr;
}

void Writer(const std::uint8_t* data, std::size_t size) {
  Controller controller;
  gController = &controller;
  std::vector<CHAR16> text;
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    const CHAR16 c = static_cast<CHAR16>(data[i] | (data[i + 1] << 8));
    if (c == 0) break;
    text.push_back(c);
  }
  text.push_back(0);  // sized exactly: a read past the terminator is caught
  const EFI_STATUS status = SetDcpmmPassphraseFile(text.data());
  const std::size_t length = text.size() - 1;
  if (length > 32) {
    Check(status == EFI_INVALID_PARAMETER && controller.written.empty(), "a passphrase over 32 characters is refused");
  } else {
    Check(status == EFI_SUCCESS && controller.written.size() == 33, "the whole file is written");
    Check(controller.written[32] == 0, "the last byte stays 0");
    std::size_t i = 0;
    for (; i < length && text[i] < 0x80; ++i) Check(controller.written[i] == text[i], "each character narrowed");
    for (; i < 33; ++i) Check(controller.written[i] == 0, "zeros after the text");
  }
  gController = nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ThePlatform();
  const std::size_t liveBefore = ThePlatform().uefi.live.size();
  if (size == 0 || data[0] % 2 == 0) {
    Reader(size > 0 ? data + 1 : data, size > 0 ? size - 1 : 0);
  } else {
    Writer(data + 1, size - 1);
  }
  Check(ThePlatform().uefi.live.size() == liveBefore, "every buffer is freed");
  return 0;
}
