// A model bound to the protocols, with pool from a fake platform, and small
// wrappers that turn protocol calls into values tests can compare.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceFakePlatform.h"
#include "NvmDimm/NvmDimmDevice.h"

constexpr UINT64 GiB = 1ULL << 30;

// A command status as the driver creates it; the destructor frees the nodes
// the protocol appended, checking each one's signature.
class CommandStatusBox {
public:
  CommandStatusBox ();
  ~CommandStatusBox ();
  CommandStatusBox (const CommandStatusBox &) = delete;
  CommandStatusBox &operator= (const CommandStatusBox &) = delete;

  COMMAND_STATUS *operator& () { return &Status; }
  UINT16 General () const { return Status.GeneralStatus; }
  // (object identifier, NVM status) of every appended node, in order.
  std::vector<std::pair<UINT32, UINT16>> Objects () const;

  COMMAND_STATUS  Status{};
};

struct Outcome {
  EFI_STATUS  Status;
  UINT16      Nvm;
};

struct NamespaceCreated {
  EFI_STATUS  Status;
  UINT16      Nvm;
  UINT64      Capacity;
  UINT16      Id;
};

class NvmDimmBench : public ::testing::Test {
protected:
  NvmDimmBench ();
  ~NvmDimmBench () override;

  // Replaces the model with one built from Description and powered up.
  void Boot (const NVM_PLATFORM_DESCRIPTION &Description);
  void Reboot () { NvmModelPowerCycle (Model.get ()); }

  std::vector<DIMM_RECORD> Dimms ();
  std::vector<REGION_RECORD> Regions ();
  std::vector<NAMESPACE_INFO> Namespaces ();
  std::vector<GOAL_RECORD> Goals ();
  UINT8 SecurityState (UINT16 DimmId);
  const REGION_RECORD *RegionOnSocket (const std::vector<REGION_RECORD> &All, UINT16 SocketId);

  Outcome CreateGoal (std::vector<UINT16> DimmIds, std::vector<UINT16> SocketIds, UINT8 Type, UINT32 VolatilePercent);
  Outcome Security (std::vector<UINT16> DimmIds, UINT16 Operation, const CHAR16 *Passphrase, const CHAR16 *NewPassphrase = nullptr);
  NamespaceCreated CreateNamespace (UINT16 RegionId, UINT64 Bytes, bool ForceAlignment = true, const char *Name = "ns");

  DeviceFakePlatform          Platform;
  std::unique_ptr<NVM_MODEL>  Model;
  NVM_DIMM_CONFIG_PROTOCOL    *Config;
};

// The embedded board with changes applied to a copy.
NVM_PLATFORM_DESCRIPTION DefaultBoard ();
