#include "app/DesktopLook.h"

#include <QGuiApplication>
#include <QIcon>
#include <QQuickStyle>
#include <QStandardPaths>

namespace velmora {

void applyDesktopLook() {
    if (qEnvironmentVariableIsEmpty("QT_QUICK_CONTROLS_STYLE")) QQuickStyle::setStyle("Fusion");
    // Outside a full desktop (offscreen, a bare X server, some window managers) Qt knows no theme
    // but "hicolor", which has none of the icons the screens use, and may not look in the XDG
    // data folders at all.
    if (QIcon::themeName().isEmpty() || QIcon::themeName() == QLatin1String("hicolor"))
        QIcon::setThemeName(QStringLiteral("Adwaita"));
    QStringList searchPaths = QIcon::themeSearchPaths();
    for (const QString& folder : QStandardPaths::locateAll(
             QStandardPaths::GenericDataLocation, QStringLiteral("icons"), QStandardPaths::LocateDirectory))
        if (!searchPaths.contains(folder)) searchPaths.append(folder);
    QIcon::setThemeSearchPaths(searchPaths);
    QIcon::setFallbackThemeName(QStringLiteral("Adwaita"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/Velmora/icons/com.tarvenholt.Velmora.png")));
    QGuiApplication::setDesktopFileName(QStringLiteral("com.tarvenholt.Velmora"));
}

}  // namespace velmora
