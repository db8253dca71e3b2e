// The command list under the Console tab: its rows from command_list.txt, the
// red mark of Auto Send's walk and the click that copies a row's command.
#pragma once

#include <QObject>
#include <QString>
#include <functional>

namespace torvek {

class CCellColorList;

class CommandListPanel : public QObject {
 public:
  // `showCommand` puts a row's command into the Console page's input box;
  // `onClick` is called for a click anywhere in the list, below its last row
  // included.
  CommandListPanel(CCellColorList& list, std::function<void(const QString&)> showCommand,
                   std::function<void()> onClick);

  // Sets the columns; the list starts hidden.
  void InsertColumns();
  // False when the file is missing or write-protected; the list is emptied either way.
  bool Load(const QString& path);
  // A click in the list, below its last row included. False when no row is
  // selected after it.
  bool Click();
  // One step of the walk; 0 when the list is empty.
  int NextRow(int& count, int& row);
  void MarkRow(int row, bool on);

  // The walk of Auto Send: the row marked now and the one before it.
  int commandRow = -1;
  int previousCommandRow = -1;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  CCellColorList& list_;
  std::function<void(const QString&)> showCommand_;
  std::function<void()> onClick_;
};

}  // namespace torvek
