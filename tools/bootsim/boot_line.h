// The serial end of a virtual module and what its boot loader keeps: the
// RAM buffer, the flash written so far, and the report of every write.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bootsim {

struct Options {
  std::string tty;
  std::string loader = "redboot";  // or "uboot"
  std::string dir;                 // flash images, report.txt, commands.txt
  int tftpPort = 69;
  int slowMs = 0;        // pause before every answer
  std::string silentAt;  // a command word, or "break-in": no answer from there on
  bool split = false;    // prompts and questions in two writes
  std::string failFile;  // this file's transfer fails
};

class BootLine {
 public:
  explicit BootLine(const Options& options) : options_(options) {}
  bool Open();

  // The next byte from the tool; false when the line is gone.
  bool ReadByte(char& c);
  // A command line: up to CR or LF, empty lines skipped. Break-in bytes that
  // are still coming are dropped.
  bool ReadLine(std::string& line);
  void Write(const std::string& text);
  // A prompt or question: in two writes when asked to split them.
  void Prompt(const std::string& text);
  // Pause before an answer when asked to be slow. False once the given
  // command word has come: from then on the loader says nothing.
  bool Answering(const std::string& command);

  // Fetches the file from the server by TFTP into RAM; false on failure.
  bool Fetch(const std::string& server, const std::string& file);
  // Writes the first `length` bytes of RAM to flash at `address` and tells
  // the report.
  void Flash(const std::string& name, std::uint32_t address, std::size_t length);
  void Report(const std::string& line);

  std::vector<std::uint8_t> ram;

 private:
  const Options& options_;
  int fd_ = -1;
  bool silent_ = false;
};

std::uint32_t Crc32(const std::uint8_t* data, std::size_t length);

// A command's words, split at blanks.
std::vector<std::string> Words(const std::string& command);

int RunRedBoot(BootLine& line);
int RunUBoot(BootLine& line);

}  // namespace bootsim
