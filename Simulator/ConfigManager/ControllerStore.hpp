// The baseboard management controller's side of out-of-band configuration:
// the last copy of each form set the configuration manager handed it (per
// keyword: every store with all its instances), the values an operator asked
// for since the last boot, and what became of the last requests. Kept in the
// state directory as controller.json, so that it outlives boots and
// carvex-sim runs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace carvex::sim::kiv {

struct StoreCopy {
  std::string name;   // the store's name, e.g. "KivVar"
  std::string guid;   // registry format
  std::uint16_t size = 0;
  std::vector<std::vector<std::uint8_t>> instances;  // one for a single-instance store
  std::string error;  // why the store could not be read; empty when it was
};

struct FormSetCopy {
  unsigned boot = 0;  // the machine's boot in which it was taken
  std::string reason;
  std::vector<StoreCopy> stores;
  const StoreCopy* Store(const std::string& name) const;
};

// One value to route: `width` bytes at `offset` of the store `store`.
struct RequestedValue {
  std::string key;     // what the operator asked for ("goal", "security", ...)
  std::string store;
  std::uint16_t offset = 0;
  std::vector<std::uint8_t> bytes;
  bool secret = false;  // a passphrase: never shown, zeroed when dropped
};

struct RequestOutcome {
  std::string key;
  std::string text;  // readable: routed, dropped and why, applied
};

class ControllerStore {
 public:
  static constexpr const char* kStateFile = "controller.json";

  explicit ControllerStore(std::filesystem::path stateDirectory);
  ~ControllerStore();

  // Reads controller.json when it exists; a damaged file is reported and
  // the controller starts empty.
  void Load(std::string* warning = nullptr);
  void Save() const;

  std::map<std::string, FormSetCopy>& Copies() { return copies_; }
  const std::map<std::string, FormSetCopy>& Copies() const { return copies_; }
  std::vector<RequestedValue>& Queue() { return queue_; }
  const std::vector<RequestedValue>& Queue() const { return queue_; }
  std::vector<RequestOutcome>& Outcomes() { return outcomes_; }
  const std::vector<RequestOutcome>& Outcomes() const { return outcomes_; }
  unsigned& OutcomeBoot() { return outcomeBoot_; }
  unsigned OutcomeBoot() const { return outcomeBoot_; }

  // Replaces a queued value with the same key and store offset.
  void Enqueue(RequestedValue value);
  // Forgets the queue, zeroing secrets first.
  void ClearQueue();

 private:
  std::filesystem::path file_;
  std::map<std::string, FormSetCopy> copies_;
  std::vector<RequestedValue> queue_;
  std::vector<RequestOutcome> outcomes_;
  unsigned outcomeBoot_ = 0;
};

}  // namespace carvex::sim::kiv
