// The Console tab: a terminal on the serial line, with a log file of the
// dialogue in which each answer up to its prompt carries its response time.
#pragma once

#include <QByteArray>
#include <QTimer>
#include <QWidget>
#include <memory>

#include "core/start_up_values.h"
#include "terminals/console_rules.h"

namespace Ui {
class ConsolePage;
}

namespace torvek {

class ConsoleHost;
class SerialLine;
struct Platform;

// Everything the page uses of the rest of the program.
struct ConsoleLinks {
  Platform& platform;
  // serialOpen is the page's to write.
  SerialLine& line;
  const StartUpValues& program;
  ConsoleHost& host;
};

class CConsolePage : public QWidget {
  Q_OBJECT
 public:
  explicit CConsolePage(const ConsoleLinks& links, QWidget* parent = nullptr);
  ~CConsolePage() override;

  // Direction 0 received, 1 sent. Takes the text into the box and the log
  // file; the view and the file are brought up to date once per batch.
  void OnSerialText(int direction, const QByteArray& text);
  // Writes what is pending to the log file and to the box.
  void FlushOutput();

  void SendConsoleLine();
  void SetInputText(const QString& text);
  QString InputText() const;

  void OnSend();
  void OnSerialPortOpen();
  void OnClearBuffer();
  void OnLogViewer();
  void OnLoadData();
  // Timer 100, every 100 ms for the life of the page.
  void OnAutoSendTick();

  int autoSendCount = 0;
  // The last line the page sent, terminator included.
  QByteArray lastSentText;

 protected:
  // Enter sends instead of pressing the window's default button.
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void WriteReceivedToLog(const QByteArray& text);

  ConsoleLinks links_;
  std::unique_ptr<Ui::ConsolePage> ui_;
  ConsoleBox box_;
  QByteArray pendingLog_;
  QTimer autoSendTimer_;
  QTimer flushTimer_;
};

}  // namespace torvek
