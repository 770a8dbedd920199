#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>

#include "app/EnhancedServices.h"
#include "app/EnhancedVoiceManager.h"
#include "app/WorkerThreads.h"

namespace velmora {

// What lives as long as the process: the worker threads of installs, catalog and voice-list
// reads, and the services that enhanced voice managers are made with.
class AppServices : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")

public:
    explicit AppServices(EnhancedServices enhanced = EnhancedServices::real(), QObject* parent = nullptr);
    ~AppServices() override;

    WorkerThreads& workers() { return workers_; }

    // A new manager owned by `owner` (the enhanced voices page, so that popping the page ends
    // it; this object when null). Installs it starts run on here after it is gone.
    Q_INVOKABLE velmora::EnhancedVoiceManager* createManager(QObject* owner);

private:
    EnhancedServices enhanced_;
    WorkerThreads workers_;
};

}  // namespace velmora
