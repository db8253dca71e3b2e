#include "core/start_up_values.h"

#include <QFileInfo>

#include "core/daily_log.h"
#include "core/start_up_texts.h"
#include "platform/platform.h"

namespace torvek {

QString ProgramBaseTitle(const QString& programFile) {
  const QFileInfo info(programFile);
  QDateTime created = info.birthTime();
  if (!created.isValid()) created = info.metadataChangeTime();
  return QString::fromStdString(BaseTitle(ProgramTimeText(LocalTm(created.toLocalTime()))));
}

StartUpValues MakeStartUpValues(Platform& platform) {
  StartUpValues values;
  values.programFile = platform.paths.ProgramFile();
  values.programDir = platform.paths.ProgramDir();
  values.dailyLogPath = QString::fromStdString(
      DailyLogPath(values.programDir.toStdString(), LocalTm(platform.clock.LocalNow())));
  values.serialConfigPath = values.programDir + "serial_config.dat";
  values.baseTitle = ProgramBaseTitle(values.programFile);
  return values;
}

}  // namespace torvek
