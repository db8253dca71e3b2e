// torvek-tftp: serves a folder of images to the boot loaders that fetch
// them. With a window for the operator, or `--no-window` for scripts.
#include <QApplication>
#include <QCommandLineParser>
#include <QSettings>
#include <QSocketNotifier>

#include <malloc.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tftp_server.h"
#include "tftp_window.h"

namespace {

int signalPipe[2] = {-1, -1};

void OnStopSignal(int) {
  const char byte = 1;
  [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

// SIGINT and SIGTERM end the event loop, so transfers end and uploads are
// cleaned up as on a normal close.
void QuitOnSignals() {
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0) return;
  auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, qApp);
  QObject::connect(notifier, &QSocketNotifier::activated, qApp, [] { qApp->quit(); });
  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool ParsePortRange(const QString& text, quint16& low, quint16& high) {
  const QStringList parts = text.split(':');
  if (parts.size() != 2) return false;
  bool okLow = false;
  bool okHigh = false;
  const uint first = parts[0].toUInt(&okLow);
  const uint last = parts[1].toUInt(&okHigh);
  if (!okLow || !okHigh || first == 0 || first > last || last > 65535) return false;
  low = static_cast<quint16>(first);
  high = static_cast<quint16>(last);
  return true;
}

bool WantsWindow(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--no-window") == 0 || std::strcmp(argv[i], "--help") == 0 ||
        std::strcmp(argv[i], "-h") == 0 || std::strcmp(argv[i], "--version") == 0 ||
        std::strcmp(argv[i], "-v") == 0)
      return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  tftpd::RaiseDescriptorLimit();
  // A transfer's read-ahead is a quarter megabyte: from their own mapping,
  // so that it goes back to the system when the transfer ends, however many
  // came and went (the allocator would otherwise raise this bound as it sees
  // them freed, and keep them).
  mallopt(M_MMAP_THRESHOLD, 128 * 1024);
  std::unique_ptr<QCoreApplication> app;
  if (WantsWindow(argc, argv))
    app = std::make_unique<QApplication>(argc, argv);
  else
    app = std::make_unique<QCoreApplication>(argc, argv);
  QCoreApplication::setOrganizationName("Torvek");
  QCoreApplication::setApplicationName("torvek-tftp");
  QCoreApplication::setApplicationVersion(TORVEK_VERSION);

  QCommandLineParser parser;
  parser.setApplicationDescription("Serves a folder of images to boot loaders over TFTP.");
  parser.addHelpOption();
  parser.addVersionOption();
  const QCommandLineOption rootOption("root", "Serve the folder <dir>.", "dir");
  const QCommandLineOption portOption("port", "Listen on UDP port <n> (69 unless remembered).",
                                      "n");
  const QCommandLineOption noWindowOption(
      "no-window", "Serve without a window until stopped, one line per transfer on stdout.");
  const QCommandLineOption uploadsOption("allow-uploads", "Take files that clients send.");
  const QCommandLineOption rangeOption("port-range",
                                       "Send from ports <low:high> only (for a firewall).",
                                       "low:high");
  parser.addOptions({rootOption, portOption, noWindowOption, uploadsOption, rangeOption});
  parser.process(*app);

  tftpd::ServerSettings settings;
  QSettings remembered;
  settings.root = remembered.value("folder").toString();
  settings.port = static_cast<quint16>(remembered.value("port", 69).toUInt());
  settings.allowUploads = remembered.value("allowUploads", false).toBool();
  if (parser.isSet(rootOption)) settings.root = parser.value(rootOption);
  if (parser.isSet(portOption)) {
    bool ok = false;
    const uint port = parser.value(portOption).toUInt(&ok);
    if (!ok || port == 0 || port > 65535) {
      std::fprintf(stderr, "torvek-tftp: --port takes a number from 1 to 65535\n");
      return 2;
    }
    settings.port = static_cast<quint16>(port);
  }
  if (parser.isSet(uploadsOption)) settings.allowUploads = true;
  if (parser.isSet(rangeOption) &&
      !ParsePortRange(parser.value(rangeOption), settings.portLow, settings.portHigh)) {
    std::fprintf(stderr, "torvek-tftp: --port-range takes LOW:HIGH, 1 <= LOW <= HIGH <= 65535\n");
    return 2;
  }
  QuitOnSignals();

  if (!parser.isSet(noWindowOption)) {
    tftpd::TftpWindow window(settings);
    window.show();
    if (!settings.root.isEmpty()) window.StartServing();
    return app->exec();
  }

  if (!parser.isSet(rootOption)) {
    std::fprintf(stderr, "torvek-tftp: --no-window needs --root DIR\n");
    return 2;
  }
  tftpd::TftpServer server;
  QString error;
  bool needsPrivilege = false;
  if (!server.Start(settings, error, needsPrivilege)) {
    std::fprintf(stderr, "torvek-tftp: %s\n", qPrintable(error));
    if (needsPrivilege)
      std::fprintf(stderr, "%s\n",
                   qPrintable(tftpd::PrivilegeHint(QCoreApplication::applicationFilePath())));
    return 1;
  }
  QObject::connect(&server, &tftpd::TftpServer::TransferEnded,
                   [](const tftpd::TransferView&, const QString& line) {
                     std::fprintf(stdout, "%s\n", qPrintable(line));
                     std::fflush(stdout);
                   });
  std::fprintf(stderr, "torvek-tftp: serving %s on UDP port %u\n", qPrintable(settings.root),
               server.Port());
  const int code = app->exec();
  server.Stop();
  return code;
}
