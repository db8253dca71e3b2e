// torvek-modsim: a LAN of virtual modules for the lab's module side.
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

#include "data_ports.h"
#include "jig_service.h"
#include "sim_options.h"
#include "sim_server.h"

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void OnStopSignal(int) { stopRequested = 1; }

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--version") {
      std::printf("torvek-modsim %s\n", TORVEK_VERSION);
      return 0;
    }
  }
  modsim::SimOptions options;
  std::string error;
  if (!modsim::ParseOptions(argc, argv, options, error)) {
    std::fprintf(stderr, "torvek-modsim: %s\n%s", error.c_str(), modsim::UsageText());
    return 2;
  }
  if (options.help) {
    std::fputs(modsim::UsageText(), stdout);
    return 0;
  }

  // The signals stay blocked except while the loop waits in ppoll, so a stop
  // can never slip in between a check and the wait.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  sigprocmask(SIG_BLOCK, &stopSignals, nullptr);
  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);

  const auto modules = modsim::MakeModules(options);
  // The data ports are bound before the ready file says so.
  std::unique_ptr<modsim::DataPorts> dataPorts;
  if (!options.dataMode.empty()) {
    modsim::DataPortMode mode;
    if (!modsim::ParseDataMode(options.dataMode, mode, error)) {
      std::fprintf(stderr, "torvek-modsim: %s\n", error.c_str());
      return 2;
    }
    dataPorts = std::make_unique<modsim::DataPorts>(mode, modules, options.dataLogPath);
    if (!dataPorts->Start(error)) {
      std::fprintf(stderr, "torvek-modsim: %s\n", error.c_str());
      return 1;
    }
  }
  std::unique_ptr<modsim::JigService> jig;
  if (options.jig.enabled) {
    jig = std::make_unique<modsim::JigService>(options.jig, modules);
    if (!jig->Start(error)) {
      std::fprintf(stderr, "torvek-modsim: %s\n", error.c_str());
      return 1;
    }
  }
  modsim::SimServer server(options, modules);
  if (!server.Open(error)) {
    std::fprintf(stderr, "torvek-modsim: %s\n", error.c_str());
    return 1;
  }
  return server.Run(stopRequested);
}
