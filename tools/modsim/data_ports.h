// The data ports of the virtual modules: TCP 5000 and 5001, UDP 5050 and
// 5051 on every module's lab address, served by a thread of their own.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "virtual_module.h"

namespace modsim {

struct DataPortMode {
  enum class Kind {
    Echo,    // sends back what arrives
    Text,    // answers each arrival with a fixed text
    Close,   // TCP: closes the connection when the first data arrives
    Reset,   // TCP: resets it then
    Refuse,  // TCP: nobody listens, so a connect is refused
    Stream,  // TCP: sends `streamBytes` of text lines at full speed, then closes
  };
  Kind kind = Kind::Echo;
  std::string text;
  long long streamBytes = 0;
  bool rawStream = false;  // no line breaks in the stream
};

// echo | text=TEXT (\r \n \0 \\ as escapes) | close | reset | refuse | stream=BYTES |
// stream-raw=BYTES
bool ParseDataMode(const std::string& value, DataPortMode& mode, std::string& error);

class DataPorts {
 public:
  DataPorts(DataPortMode mode, const std::vector<VirtualModule>& modules, std::string logPath);
  ~DataPorts();
  DataPorts(const DataPorts&) = delete;
  DataPorts& operator=(const DataPorts&) = delete;

  // Binds the ports and starts serving. On failure false with a reason.
  bool Start(std::string& error);
  void Stop();

 private:
  struct Connection {
    int fd = -1;
    std::uint16_t port = 0;
    std::string address;
    std::string pending;  // answer bytes the socket has not taken yet
    long long streamLeft = 0;
  };

  void Run();
  void Accept(int listener, std::uint16_t port);
  void ReadConnection(Connection& c);
  void WriteConnection(Connection& c);
  void ReadDatagrams(int fd, std::uint16_t port);
  bool IsModule(std::uint32_t address) const;
  void Log(const char* protocol, const std::string& address, std::uint16_t port,
           const std::uint8_t* data, std::size_t length);
  std::string Answer(const std::uint8_t* data, std::size_t length) const;

  DataPortMode mode_;
  std::vector<std::uint32_t> modules_;  // sorted, host order
  std::string logPath_;
  std::FILE* log_ = nullptr;
  std::vector<int> listeners_;  // fd, then port, pairwise
  std::vector<int> datagrams_;  // likewise
  std::vector<Connection> connections_;
  int stopFd_ = -1;
  std::thread thread_;
};

}  // namespace modsim
