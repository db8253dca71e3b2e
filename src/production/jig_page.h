// The "Jig_tool" tab: a factory test of the module in the test jig. The page
// shows the rows and their results; JigSession runs the test and the report.
#pragma once

#include <QHash>
#include <QWidget>
#include <memory>

#include "production/jig_session.h"

class QLabel;

namespace Ui {
class JigPage;
}

namespace torvek {

class CJigPage : public QWidget, public JigView {
  Q_OBJECT
 public:
  explicit CJigPage(JigSession& session, QWidget* parent = nullptr);
  ~CJigPage() override;

  void SendJigRequest(std::uint8_t item) { session_.SendJigRequest(item); }
  void OnAllTest() { session_.OnAllTest(); }
  void OnAllTestStep(long long wParam) { session_.OnAllTestStep(wParam); }
  void OnJigAnswer(long long wParam, long long length) { session_.OnJigAnswer(wParam, length); }
  bool AppendReport(std::string_view text) { return session_.AppendReport(text); }
  void OnViewResult() { session_.OnViewResult(); }
  // True while the tab "Jig_tool" is the one shown.
  void SetArpFlush(bool on) { session_.SetArpFlush(on); }
  bool ArpFlushEnabled() const { return session_.arpFlushEnabled; }

  void SetResult(int resultId, const QString& text) override;
  void SetAllResults(const QString& text) override;
  void RepaintWindow() override;

 private:
  JigSession& session_;
  std::unique_ptr<Ui::JigPage> ui_;
  // The eleven result labels by their ids.
  QHash<int, QLabel*> results_;
};

}  // namespace torvek
