// The UDP side of the virtual modules: one socket on 7980, one event loop, a
// handler per command byte, and a queue of answers going out.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <string>
#include <vector>

#include "file_transfer.h"
#include "mac_write.h"
#include "module_record.h"
#include "sim_options.h"
#include "virtual_module.h"

namespace modsim {

class SimServer {
 public:
  SimServer(const SimOptions& options, std::vector<VirtualModule> modules);
  ~SimServer();
  SimServer(const SimServer&) = delete;
  SimServer& operator=(const SimServer&) = delete;

  // Binds the socket, opens the log and writes the ready file. On failure
  // returns false with a one-line reason.
  bool Open(std::string& error);

  // Runs until the lifetime ends, the search count is reached or stop is set
  // (by a signal). Returns the exit code.
  int Run(const volatile std::sig_atomic_t& stop);

 private:
  using Clock = std::chrono::steady_clock;

  struct Datagram {
    sockaddr_in from{};
    in_addr to{};  // the address it was sent to
    const std::uint8_t* bytes = nullptr;
    std::size_t length = 0;
    Clock::time_point arrived;

    // A field beyond the datagram's end reads as zero.
    std::uint8_t At(std::size_t offset) const { return offset < length ? bytes[offset] : 0; }
  };
  using Handler = void (SimServer::*)(const Datagram&);

  // The records that answer one search, sent as a burst or paced.
  struct AnswerJob {
    sockaddr_in to{};
    MacAddress searcherMac{};
    std::vector<std::uint32_t> modules;  // indices of the modules that answer
    std::size_t total = 0;               // modules.size() times the repeat count
    std::size_t next = 0;
    std::size_t sent = 0;
    std::size_t failed = 0;
    Clock::time_point started;
    Clock::time_point due;         // paced or backing off: nothing goes before this
    bool waitWritable = false;     // the socket's send buffer is full
    Clock::time_point stuckSince;  // since when the record at next has not gone
    bool stuck = false;
    bool errorReported = false;
  };

  static constexpr std::size_t kBatch = 64;

  void DrainSocket();
  void Dispatch(const Datagram& datagram);
  void LogDatagram(const Datagram& datagram);

  void OnSearch(const Datagram& datagram);
  void OnSetNetwork(const Datagram& datagram);
  void OnReboot(const Datagram& datagram);
  void OnFactoryDefault(const Datagram& datagram);
  void OnSetCompanyId(const Datagram& datagram);
  // Takes the new address, answers, and reboots under it.
  void OnWriteMac(const Datagram& datagram);
  // File blocks and Gets: file_transfer.cpp.
  void OnFileFrame(const Datagram& datagram);

  // The modules that targetMac names: one by its MAC, or all for FF six times.
  std::vector<VirtualModule*> Targets(const Datagram& datagram);
  // One short answer from module back to the sender of datagram.
  void SendAnswer(const VirtualModule& module, const Datagram& datagram, std::uint8_t command,
                  std::uint8_t result);
  // The same, naming `peer` as the target.
  void SendAnswerTo(const VirtualModule& module, const Datagram& datagram, const MacAddress& peer,
                    std::uint8_t command, std::uint8_t result);

  // Sends what is due of the front job; returns when it is done, blocked or
  // has had its share of time.
  void ProgressJob(AnswerJob& job);
  // One sendmmsg call for up to count records starting at job.next.
  void SendBatch(AnswerJob& job, std::size_t count);
  void NoteSendError(AnswerJob& job, int error);
  void FinishJob(const AnswerJob& job);

  SimOptions options_;
  std::vector<VirtualModule> modules_;
  std::array<Handler, 256> handlers_{};
  int fd_ = -1;
  std::FILE* log_ = nullptr;
  std::deque<AnswerJob> jobs_;
  int searchesTaken_ = 0;
  int searchesAnswered_ = 0;

  std::vector<std::uint8_t> receiveBuffer_;
  std::vector<std::array<std::uint8_t, kFrameLength>> sendBuffers_;
  std::string hexLine_;
  FileTransfer files_;
  MacWriteLog macLog_;
  // Answers to Write MAC that wait for their moment, earliest first.
  struct DelayedAnswer {
    Clock::time_point due;
    std::size_t module = 0;
    sockaddr_in to{};
    MacAddress peer{};
    std::uint8_t command = 0;
    std::uint8_t result = 0;
  };
  std::deque<DelayedAnswer> delayed_;
  void SendDueAnswers();
};

}  // namespace modsim
