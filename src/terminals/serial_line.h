// The tool's one serial line: the port on its reader thread, the session of
// each open, and the two users of the text, the Console page and a flash
// script. Lives on the UI thread; every call here is made there.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <atomic>
#include <cstdint>
#include <functional>

#include "core/start_up_values.h"
#include "terminals/serial_config.h"

class QThread;

namespace torvek {

struct Platform;
class SerialReader;

class SerialLine : public QObject {
  Q_OBJECT
 public:
  // Direction 0 is received text, 1 sent text.
  using ConsoleSink = std::function<void(int direction, const QByteArray& text)>;
  using ScriptSink = std::function<void(int direction, const QByteArray& text, int length)>;

  // The settings live in the program folder's serial_config.dat.
  SerialLine(Platform& platform, const StartUpValues& startUp, QObject* parent = nullptr);
  ~SerialLine() override;

  void SetConsoleSink(ConsoleSink sink) { consoleSink_ = std::move(sink); }
  void SetScriptSink(ScriptSink sink) { scriptSink_ = std::move(sink); }

  // A choice of the setup dialog: kept, and saved at once.
  void SetUp(const SerialConfig& chosen);
  // The open buttons' wish: the settings are saved, then the line opens or closes.
  void Switch(int open);
  // Opens with the saved settings; what went wrong is told in boxes.
  void OpenWithSavedSettings();
  bool SaveSettings(const QString& path);
  bool LoadSettings(const QString& path);

  // Brings the line up with these settings, closing a line that is open. The
  // failures are told in their boxes; false when the port did not open.
  bool Open(const SerialConfig& config, const QString& programDir);
  // Whether or not a port is open; text still queued is dropped.
  void Close();
  // Hands a text to the sink of the moment; `tick` is when it was read, -1 now.
  void Feed(int direction, const QByteArray& text, std::int64_t tick = -1);
  // Feeds the text as sent and writes it to the port, in order with earlier
  // writes. An empty text writes one line feed.
  void Send(const QByteArray& text);

  bool ReaderRunning() const { return thread_ != nullptr; }
  // When the last text was sent, and when the last text reached the console.
  std::int64_t lastSendTick = 0;
  std::int64_t lastTextTick = 0;

  // The settings of serial_config.dat.
  SerialConfig serialConfig;
  // What the operator last asked of the port through a page's open button.
  bool serialOpen = false;
  // Set while a script drives the line: the reader then cuts chunks and the
  // text goes to the script's sink instead of the console. Read by the
  // reader thread.
  std::atomic<int> upgradeActive{0};

 signals:
  // A failure for the operator's box: text and title (empty: the program's
  // name). Connect it directly; the box comes where the failure is met.
  void Tell(const QString& text, const QString& title);

 private:
  void TakeTexts(std::uint64_t session);

  enum class Handle { Invalid, Open, Closed };
  Platform& platform_;
  const StartUpValues& startUp_;
  ConsoleSink consoleSink_;
  ScriptSink scriptSink_;
  Handle handle_ = Handle::Invalid;
  QThread* thread_ = nullptr;
  SerialReader* reader_ = nullptr;
  // Bumped by every open and close: text queued by an older reader is dropped.
  std::uint64_t session_ = 0;
};

}  // namespace torvek
