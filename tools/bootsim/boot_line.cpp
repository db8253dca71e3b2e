#include "boot_line.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

extern char** environ;

namespace bootsim {

namespace {
void Pause(int ms) {
  if (ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}
}  // namespace

bool BootLine::Open() {
  fd_ = ::open(options_.tty.c_str(), O_RDWR | O_NOCTTY);
  if (fd_ < 0) return false;
  termios raw{};
  if (::tcgetattr(fd_, &raw) == 0) {
    ::cfmakeraw(&raw);
    ::tcsetattr(fd_, TCSANOW, &raw);
  }
  return true;
}

bool BootLine::ReadByte(char& c) {
  for (;;) {
    const ssize_t n = ::read(fd_, &c, 1);
    if (n == 1) return true;
    if (n == 0) return false;
    if (errno != EINTR && errno != EAGAIN) return false;
  }
}

bool BootLine::ReadLine(std::string& line) {
  line.clear();
  char c = 0;
  while (ReadByte(c)) {
    if (c == '\r' || c == '\n') {
      if (!line.empty()) {
        std::ofstream(options_.dir + "/commands.txt", std::ios::app) << line << '\n';
        return true;
      }
      continue;
    }
    if (c == '\x03' || (c == '4' && line.empty() && options_.loader == "uboot")) continue;
    line.push_back(c);
  }
  return false;
}

void BootLine::Write(const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t n = ::write(fd_, text.data() + done, text.size() - done);
    if (n > 0)
      done += static_cast<std::size_t>(n);
    else if (errno != EINTR && errno != EAGAIN)
      return;
  }
  ::tcdrain(fd_);
}

void BootLine::Prompt(const std::string& text) {
  if (!options_.split || text.size() < 2) {
    Write(text);
    return;
  }
  // Long enough apart that the tool reads the halves separately.
  Write(text.substr(0, text.size() / 2));
  Pause(50);
  Write(text.substr(text.size() / 2));
}

bool BootLine::Answering(const std::string& command) {
  if (!silent_ && !options_.silentAt.empty() && command.rfind(options_.silentAt, 0) == 0) {
    silent_ = true;
    Report("silent at " + command);
  }
  if (silent_) return false;
  Pause(options_.slowMs);
  return true;
}

bool BootLine::Fetch(const std::string& server, const std::string& file) {
  const std::string local = options_.dir + "/ram.tmp";
  ::unlink(local.c_str());
  // A failed transfer is a real one: the server is asked for a name it lacks.
  const std::string remote = file == options_.failFile ? "absent-" + file : file;
  std::vector<std::string> words = {
      "tftp", "-m",  "binary", server, std::to_string(options_.tftpPort),
      "-c",   "get", remote,   local};
  std::vector<char*> argv;
  for (std::string& w : words) argv.push_back(w.data());
  argv.push_back(nullptr);
  // The client's exit status says nothing of a refused transfer; what it
  // prints does.
  const std::string said = options_.dir + "/tftp.out";
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, 1, said.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  ::posix_spawn_file_actions_adddup2(&actions, 1, 2);
  pid_t pid = -1;
  const int error = ::posix_spawnp(&pid, "tftp", &actions, nullptr, argv.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) return false;
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  std::ifstream out(said);
  const std::string output((std::istreambuf_iterator<char>(out)), std::istreambuf_iterator<char>());
  std::ifstream in(local, std::ios::binary);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || !in || !output.empty()) {
    Report("transfer of " + file + " failed: " + output.substr(0, output.find('\n')));
    return false;
  }
  ram.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  ::unlink(local.c_str());
  Report("fetched " + file + " " + std::to_string(ram.size()));
  return true;
}

void BootLine::Flash(const std::string& name, std::uint32_t address, std::size_t length) {
  std::vector<std::uint8_t> image(ram.begin(), ram.begin() + std::min(length, ram.size()));
  image.resize(length, 0xFF);  // past the loaded file, RAM holds nothing we know
  char file[32];
  std::snprintf(file, sizeof file, "/%08x.bin", address);
  std::ofstream(options_.dir + file, std::ios::binary)
      .write(reinterpret_cast<const char*>(image.data()), static_cast<std::streamsize>(length));
  char line[160];
  std::snprintf(line, sizeof line, "wrote %s at 0x%08x size %zu crc32 %08x", name.c_str(), address,
                length, Crc32(image.data(), image.size()));
  Report(line);
}

void BootLine::Report(const std::string& line) {
  std::ofstream(options_.dir + "/report.txt", std::ios::app) << line << '\n';
  std::fprintf(stderr, "bootsim: %s\n", line.c_str());
}

std::uint32_t Crc32(const std::uint8_t* data, std::size_t length) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < length; ++i) {
    crc ^= data[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

std::vector<std::string> Words(const std::string& command) {
  std::istringstream in(command);
  std::vector<std::string> out;
  for (std::string word; in >> word;) out.push_back(word);
  return out;
}

}  // namespace bootsim
