// torvek-tftp's window: the folder and port to serve, the transfers as they
// run, and a log of every transfer that ended or was refused.
#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTimer>
#include <QWidget>

#include <map>

#include "tftp_server.h"

namespace tftpd {

class TftpWindow : public QWidget {
  Q_OBJECT
 public:
  // `settings` are the remembered ones, already overridden by the command line.
  explicit TftpWindow(const ServerSettings& settings, QWidget* parent = nullptr);

  // Serves with what the boxes say; a failure shows in the window.
  bool StartServing();
  void StopServing();
  TftpServer& Server() { return server_; }

  // The port offered when the chosen one needs a privilege the program lacks.
  static constexpr quint16 kUnprivilegedPort = 6969;

 private:
  void Browse();
  void ShowServing();
  void ShowFailure(const QString& error, bool needsPrivilege);
  void AddLog(const QString& line);
  void OnStarted(const TransferView& view);
  void OnEnded(const TransferView& view, const QString& line);
  void Refresh();
  void FillRow(int row, const TransferView& view);
  void Remember() const;

  TftpServer server_;
  QLineEdit* folderEdit_;
  QPushButton* browseButton_;
  QSpinBox* portSpin_;
  QCheckBox* uploadsBox_;
  QPushButton* serveButton_;
  QLabel* statusLabel_;
  QLabel* privilegeLabel_;
  QPushButton* otherPortButton_;
  QTableWidget* table_;
  QPlainTextEdit* log_;
  QTimer refresh_;
  std::map<quint64, int> rows_;  // running transfers by id
  quint16 portLow_;
  quint16 portHigh_;
};

// The text that tells how to let this program bind ports below 1024.
QString PrivilegeHint(const QString& program);

}  // namespace tftpd
