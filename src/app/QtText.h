#pragma once

#include <QString>
#include <string>

namespace velmora {

inline QString qtText(const std::string& text) { return QString::fromStdString(text); }
inline std::string stdText(const QString& text) { return text.toStdString(); }

}  // namespace velmora
