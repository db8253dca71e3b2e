#include "admin/model_code.h"

#include "core/management_frame.h"
#include "platform/prompter.h"

namespace torvek {

std::optional<std::uint16_t> ModelCodeOrTell(const QString& typeText, Prompter& prompter) {
  const std::string text = typeText.toStdString();
  const std::optional<std::uint16_t> code = ModelCodeOf(text);
  if (!code) prompter.Message(QString::fromStdString(InvalidTypeStringText(text)));
  return code;
}

}  // namespace torvek
