// The Mac Writer tab: a production worker gives one module after the other
// its permanent MAC, from a barcode reader or from the counter, and the tool
// logs each good write and searches again once the module has rebooted.
#pragma once

#include <QString>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>

#include "production/mac_writer_session.h"

namespace Ui {
class MacWriterPage;
}

namespace torvek {

class CStatusLabel;

class CMacWriterPage : public QWidget {
  Q_OBJECT
 public:
  // The session's links; the page's status line is put in by the page.
  explicit CMacWriterPage(MacWriterLinks links, QWidget* parent = nullptr);
  ~CMacWriterPage() override;

  // Page start: the counter, its texts, the instructions, the status line.
  void OnInitDialog();

  void OnMacWrite();
  void OnBarcodeMode();
  void OnManualMode();
  // Every answer 53, 57 or 82 that is no refusal comes here, written or not.
  void OnMacWriteAnswer(const std::uint8_t* frame, std::size_t length);
  void OnMacWriteAnswer(const QByteArray& answer);
  void ReportStatus(int code);

  bool SaveMacData(bool advance) { return session_->SaveMacData(advance); }
  void AppendWriteLog(const QString& macText, const QString& serialText);
  void RefreshMacBytes() { session_->counter.RefreshMacBytes(); }
  void RefreshMacTexts();
  void OnMacSetup();
  void OnLogViewer();
  void OnMakeLabel();
  void OnTimer(int id);

  // true: controls to texts; false: texts to controls.
  void UpdateData(bool fromControls);

  MacWriterSession& session() { return *session_; }
  CStatusLabel& statusLabel();

  int writeMode = kManualMode;
  QString scannedMac;
  QString scannedSerial;
  QString companyIdText;
  QString macIdText;
  QString statusText;
  QString writtenMacText;
  QString writtenSerialText;
  QString instructionsText;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  MacWriterLinks links_;
  std::unique_ptr<Ui::MacWriterPage> ui_;
  std::unique_ptr<MacWriterSession> session_;
};

}  // namespace torvek
