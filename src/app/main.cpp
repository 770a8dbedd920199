// The velmora program: tops up the voice packs' dictionaries, opens the window, and with
// "-selftest" or "-selftest-enhanced" runs the self tests beside it on a worker thread.
#include <QtQml/qqmlextensionplugin.h>

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QTimer>
#include <memory>
#include <string>
#include <vector>

#include "app/AppServices.h"
#include "app/DesktopLook.h"
#include "app/SelfTestSuites.h"
#include "app/SpeechController.h"
#include "speech/Synthesizer.h"
#include "store/VoiceStore.h"

Q_IMPORT_QML_PLUGIN(VelmoraPlugin)

int main(int argc, char* argv[]) {
    using namespace velmora;
    VoiceStore::addMissingDictionaries();
    // The arguments as given, before Qt takes out its own (-platform and the like).
    const std::vector<std::string> arguments(argv, argv + argc);

    QGuiApplication application(argc, argv);
    applyDesktopLook();

    AppServices services;
    auto system = SpeechSystem::shared();
    SpeechController speech(system, std::make_unique<Synthesizer>(system, openAudioOutput),
                            services.workers());

    QQmlApplicationEngine engine;
    // The module's qmldir (qrc:/Velmora/qmldir) declares its QML singletons; Qt 6.4 does not
    // look in qrc:/ by itself.
    engine.addImportPath(QStringLiteral("qrc:/"));
    engine.setInitialProperties(
        {{"speech", QVariant::fromValue(&speech)}, {"services", QVariant::fromValue(&services)}});
    engine.load(QUrl(QStringLiteral("qrc:/Velmora/qml/Main.qml")));
    if (engine.rootObjects().isEmpty()) return 1;

    if (wantsSelfTests(arguments)) {
        // Once the event loop runs, so that the window is up first.
        QTimer::singleShot(0, &services, [&services, arguments] {
            services.workers().start([arguments](std::stop_token stop) {
                runSelfTests(SelfTestSuites::program(stop), arguments);
            });
        });
    }
    application.exec();
    return 0;
}
