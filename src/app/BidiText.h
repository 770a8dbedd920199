#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QString>

namespace velmora {

// Right-to-left names inside the screens' left-to-right texts. A language or voice name in
// Arabic or Hebrew, followed by " — 1 KB download", would otherwise pull the dash and the number
// into its own direction and show "KB download 1 — (...)" . Each right-to-left run is set apart
// (first-strong isolate ... pop directional isolate), so the text around it keeps its order. Only
// what is drawn changes; accessible names keep the plain text.
class Bidi : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    explicit Bidi(QObject* parent = nullptr) : QObject(parent) {}

    // `text` with every right-to-left run, with the brackets it opens and closes, isolated.
    Q_INVOKABLE static QString isolated(const QString& text);
};

}  // namespace velmora
