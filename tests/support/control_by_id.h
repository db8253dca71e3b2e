// Finds a control of a template by its numeric id.
#pragma once

#include <QVariant>
#include <QWidget>

namespace torvek::test {

template <typename T = QWidget>
T* ById(QWidget& root, int id) {
  for (QWidget* w : root.findChildren<QWidget*>())
    if (w->property("controlId").toInt() == id) return qobject_cast<T*>(w);
  return nullptr;
}

}  // namespace torvek::test
