#include "terminals/serial_line.h"

#include <QThread>
#include <QTimer>
#include <utility>

#include "platform/platform.h"
#include "terminals/serial_port.h"

namespace torvek {

SerialLine::SerialLine(Platform& platform, const StartUpValues& startUp, QObject* parent)
    : QObject(parent), platform_(platform), startUp_(startUp) {}

SerialLine::~SerialLine() { Close(); }

void SerialLine::SetUp(const SerialConfig& chosen) {
  serialConfig = chosen;
  SaveSettings(startUp_.serialConfigPath);
}

void SerialLine::Switch(int open) {
  SaveSettings(startUp_.serialConfigPath);
  if (open)
    OpenWithSavedSettings();
  else
    Close();
}

void SerialLine::OpenWithSavedSettings() {
  if (!LoadSettings(startUp_.serialConfigPath)) {
    emit Tell("No Serial Data confige, Setup Serial port at the Serial tab page : config", {});
    return;
  }
  if (!Open(serialConfig, startUp_.programDir))
    emit Tell("Check Serial port and other properities", {});
}

bool SerialLine::SaveSettings(const QString& path) {
  return SaveSerialConfig(path.toStdString(), serialConfig);
}

bool SerialLine::LoadSettings(const QString& path) {
  return LoadSerialConfig(path.toStdString(), serialConfig);
}

bool SerialLine::Open(const SerialConfig& config, const QString& programDir) {
  // A second open brings the line up again with the settings of now.
  Close();

  auto* thread = new QThread;
  thread->setObjectName("serial reader");
  Clock& clock = platform_.clock;
  auto* reader = new SerialReader(upgradeActive, [&clock] { return clock.TickMs(); });
  reader->moveToThread(thread);
  connect(thread, &QThread::finished, reader, &QObject::deleteLater);
  thread_ = thread;
  reader_ = reader;
  const std::uint64_t session = ++session_;
  // Connected before the port can deliver: text that comes in while a box of
  // the open is up is taken as soon as the box has gone. For the console,
  // texts are taken a few milliseconds after the first of a batch, so a fast
  // line wakes the UI thread about a hundred times a second, not once per
  // read; a script gets its chunks at once.
  connect(
      reader, &SerialReader::TextsReady, this,
      [this, session] {
        if (upgradeActive)
          TakeTexts(session);
        else
          QTimer::singleShot(10, this, [this, session] { TakeTexts(session); });
      },
      Qt::QueuedConnection);
  thread->start();

  QStringList failures;
  int opened = 0;
  reader->Post([&] { opened = reader->Open(config, programDir, failures); }, true);
  for (int i = 0; i + 1 < failures.size(); i += 2) emit Tell(failures[i], failures[i + 1]);
  // A box runs its own loop, in which the operator may have closed the line
  // or opened it again: the open itself went through.
  if (reader_ != reader) return true;
  if (!opened) {
    Close();
    handle_ = Handle::Invalid;
    return false;
  }
  handle_ = Handle::Open;
  return true;
}

void SerialLine::Close() {
  ++session_;  // whatever the old reader still has queued is dropped
  if (!thread_) return;
  SerialReader* reader = std::exchange(reader_, nullptr);
  QThread* thread = std::exchange(thread_, nullptr);
  reader->Post([reader] { reader->Close(); }, true);
  thread->quit();
  thread->wait();
  delete thread;
  handle_ = Handle::Closed;
}

void SerialLine::TakeTexts(std::uint64_t session) {
  if (session != session_ || !reader_) return;
  const QList<SerialText> texts = reader_->TakeTexts();
  for (const SerialText& t : texts) Feed(0, t.text, t.tick);
}

void SerialLine::Feed(int direction, const QByteArray& text, std::int64_t tick) {
  if (upgradeActive) {
    if (scriptSink_) scriptSink_(direction, text, static_cast<int>(text.size()));
    return;
  }
  lastTextTick = tick < 0 ? platform_.clock.TickMs() : tick;
  if (consoleSink_) consoleSink_(direction, text);
}

void SerialLine::Send(const QByteArray& text) {
  Feed(1, text);
  lastSendTick = platform_.clock.TickMs();
  if (handle_ == Handle::Invalid) {
    // Only a write of a whole text says so; a single byte goes nowhere quietly.
    if (!text.isEmpty()) emit Tell("Invalid handle", {});
    return;
  }
  if (!reader_) return;  // closed: the count would be 0
  const QByteArray bytes = text.isEmpty() ? QByteArray(1, '\n') : text;
  SerialReader* reader = reader_;
  reader->Post([reader, bytes] { reader->Write(bytes); }, false);
}

}  // namespace torvek
