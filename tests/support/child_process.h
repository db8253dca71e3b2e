// A program the tests run beside them (virtual modules, socat), started with
// posix_spawn rather than fork: under the thread sanitizer, forking a process
// that has threads leaves the parent unchecked for the rest of its run.
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QString>
#include <QStringList>
#include <QThread>
#include <string>
#include <vector>

extern char** environ;

namespace torvek::test {

class ChildProcess {
 public:
  ChildProcess() = default;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() { Stop(); }

  // Looks the program up on PATH; its output goes where the test's goes.
  bool Start(const QString& program, const QStringList& arguments, const QString& workingDir = {}) {
    std::vector<std::string> words{program.toStdString()};
    for (const QString& a : arguments) words.push_back(a.toStdString());
    std::vector<char*> argv;
    for (std::string& w : words) argv.push_back(w.data());
    argv.push_back(nullptr);
    exitCode_ = -1;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    const std::string dir = workingDir.toStdString();
    if (!dir.empty()) ::posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
    // Nothing of the test's but its output: a peer left behind must not hold
    // the lab's lock file, say.
    ::posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    const int error = ::posix_spawnp(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) pid_ = -1;
    return error == 0;
  }

  bool Running() {
    Reap(false);
    return pid_ > 0;
  }

  // True when the program ended within the time.
  bool WaitForFinished(int timeoutMs) {
    for (int waited = 0; pid_ > 0; waited += 5) {
      if (Reap(false)) return true;
      if (waited >= timeoutMs) return false;
      QThread::msleep(5);
    }
    return true;
  }

  // Asks the program to end (SIGTERM); WaitForFinished tells whether it did.
  void Terminate() {
    if (Running()) ::kill(pid_, SIGTERM);
  }

  // SIGTERM, then SIGKILL if the program takes more than three seconds.
  void Stop() {
    Terminate();
    if (WaitForFinished(3000)) return;
    ::kill(pid_, SIGKILL);
    Reap(true);
  }

  void Kill() {
    if (!Running()) return;
    ::kill(pid_, SIGKILL);
    Reap(true);
  }

  // The exit status of a program that ended normally; -1 otherwise.
  int ExitCode() const { return exitCode_; }

 private:
  bool Reap(bool wait) {
    if (pid_ <= 0) return true;
    int status = 0;
    const pid_t done = ::waitpid(pid_, &status, wait ? 0 : WNOHANG);
    if (done != pid_) return false;
    exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    pid_ = -1;
    return true;
  }

  pid_t pid_ = -1;
  int exitCode_ = -1;
};

}  // namespace torvek::test
