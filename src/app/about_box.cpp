#include "app/about_box.h"

#include <QAction>
#include <QDialog>
#include <QDir>
#include <QPainter>

#include "platform/prompter.h"
#include "ui_about_dialog.h"

namespace torvek {

// Icon 128: drawn rather than shipped, so no image file can go missing.
QIcon TorvekIcon() {
  QPixmap pixmap(32, 32);
  pixmap.fill(Qt::transparent);
  QPainter p(&pixmap);
  p.setRenderHint(QPainter::Antialiasing);
  p.setBrush(QColor(0x1F, 0x5F, 0x9F));
  p.setPen(Qt::NoPen);
  p.drawRoundedRect(2, 2, 28, 28, 6, 6);
  p.setPen(QPen(Qt::white, 2.5));
  p.drawLine(9, 10, 23, 10);
  p.drawLine(16, 10, 16, 24);
  return QIcon(pixmap);
}

void RunAboutBox(QWidget* parent, Prompter& prompter, const QString& filesFolder) {
  QDialog box(parent);
  Ui::AboutDialog about;
  about.setupUi(&box);
  about.iconLabel->setPixmap(TorvekIcon().pixmap(32, 32));
  // Where the daily log and the other files are kept, so an operator of an
  // installed copy can find them.
  about.filesLabel->setText("Files: " + QDir::toNativeSeparators(filesFolder));
  about.filesLabel->setToolTip(filesFolder);
  prompter.RunDialog(box);
}

void AddAboutAction(QWidget& window, std::function<void()> show) {
  auto* about = new QAction(QObject::tr("&About Torvek...Version 1.1"), &window);
  about->setShortcut(QKeySequence::HelpContents);
  QObject::connect(about, &QAction::triggered, &window, std::move(show));
  window.addAction(about);
  window.setContextMenuPolicy(Qt::ActionsContextMenu);
}

}  // namespace torvek
