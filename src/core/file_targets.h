// Where the blocks of a file job go when they go to every module: the rows of
// the list, in the list's order, filtered by the job's model.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace torvek {

class CellTable;

// A job for the ORB730 or the ORB740 skips the rows of other models; any other
// job model goes to every row. Each row gives its LAN address (useLanIp) or its
// WAN address, as the text stands.
std::vector<std::string> FileTargetAddresses(const CellTable& modules, int jobModel, bool useLanIp);

// The addresses that the unicast blocks of a running job go to. The UI thread
// publishes a new list whenever the list, the selection or the choice of
// address changes; the sender takes the latest for each block, without
// waiting for the UI thread and without copying the list.
class FileTargetSnapshot {
 public:
  using Targets = std::shared_ptr<const std::vector<std::string>>;
  void Publish(std::vector<std::string> addresses) {
    auto fresh = std::make_shared<const std::vector<std::string>>(std::move(addresses));
    std::lock_guard lock(mutex_);
    current_ = std::move(fresh);
  }
  Targets Read() const {
    std::lock_guard lock(mutex_);
    return current_;
  }

 private:
  mutable std::mutex mutex_;
  Targets current_ = std::make_shared<const std::vector<std::string>>();
};

}  // namespace torvek
