// UEFI variables with EDK II's rules. Non-volatile variables persist in a
// readable JSON file in the state directory, rewritten on every change;
// volatile ones live until the next boot starts.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <Uefi.h>

#include "FaultInjector.hpp"
#include "Guid.hpp"

namespace carvex::sim {

inline constexpr UINT32 kVariableAppendWrite = 0x00000040;

struct Variable {
  std::u16string name;
  EFI_GUID guid{};
  UINT32 attributes = 0;
  std::vector<std::uint8_t> data;
};

enum class VariableOp { Get, Set, Delete, GetNextName };
const char* VariableOpName(VariableOp op);

struct VariableLogEntry {
  unsigned boot = 0;
  std::string image;
  VariableOp op = VariableOp::Get;
  std::u16string name;
  EFI_GUID guid{};
  UINT32 attributes = 0;
  UINTN size = 0;  // data size asked for or written
  EFI_STATUS status = EFI_SUCCESS;
};

class VariableStore {
 public:
  // Loads `file` when it exists; a file that is not a valid store throws
  // std::runtime_error. faults may be null.
  VariableStore(std::filesystem::path file, FaultInjector* faults);

  // The runtime services, with the calling image's name for the log.
  EFI_STATUS GetVariable(const std::string& caller, const CHAR16* name, const EFI_GUID* guid,
                         UINT32* attributes, UINTN* dataSize, VOID* data);
  EFI_STATUS SetVariable(const std::string& caller, const CHAR16* name, const EFI_GUID* guid,
                         UINT32 attributes, UINTN dataSize, const VOID* data);
  EFI_STATUS GetNextVariableName(const std::string& caller, UINTN* nameSize, CHAR16* name,
                                 EFI_GUID* guid);

  // Host access for the platform and tests (logged as "host", no faults).
  std::optional<Variable> Find(std::u16string_view name, const EFI_GUID& guid) const;
  std::optional<std::vector<std::uint8_t>> Data(std::u16string_view name,
                                                const EFI_GUID& guid) const;
  void Put(std::u16string_view name, const EFI_GUID& guid, UINT32 attributes,
           std::vector<std::uint8_t> data);
  bool Erase(std::u16string_view name, const EFI_GUID& guid);
  const std::vector<Variable>& All() const { return variables_; }

  // A reboot: volatile variables are gone.
  void DropVolatile();
  void SetBoot(unsigned boot) { boot_ = boot; }

  const std::vector<VariableLogEntry>& Log() const { return log_; }
  // Entries for one variable name, in order.
  std::vector<VariableLogEntry> LogFor(std::u16string_view name) const;
  void ClearLog() { log_.clear(); }

  const std::filesystem::path& File() const { return file_; }

 private:
  std::vector<Variable>::iterator Locate(std::u16string_view name, const GuidKey& guid);
  EFI_STATUS SetChecked(const CHAR16* name, const EFI_GUID* guid, UINT32 attributes,
                        UINTN dataSize, const VOID* data);
  void Record(const std::string& caller, VariableOp op, std::u16string name, const EFI_GUID* guid,
              UINT32 attributes, UINTN size, EFI_STATUS status);
  void Load();
  void Save() const;

  std::filesystem::path file_;
  FaultInjector* faults_;
  std::vector<Variable> variables_;  // creation order, which GetNextVariableName walks
  std::vector<VariableLogEntry> log_;
  unsigned boot_ = 0;
};

}  // namespace carvex::sim
