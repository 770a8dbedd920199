#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>

#include "app/EnhancedServices.h"
#include "app/EnhancedVoiceManager.h"
#include "app/WorkerThreads.h"

namespace velmora {

// What lives as long as the process: the worker threads of installs, catalog and voice-list
// reads, and the enhanced voice manager with its queue of installs, which every visit of the
// enhanced voices screen shows.
class AppServices : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(velmora::EnhancedVoiceManager* enhanced READ enhanced CONSTANT)

public:
    explicit AppServices(EnhancedServices enhanced = EnhancedServices::real(), QObject* parent = nullptr);
    ~AppServices() override;

    WorkerThreads& workers() { return workers_; }

    EnhancedVoiceManager* enhanced() { return &enhanced_; }

private:
    // The manager goes first: the threads' last jobs find it gone.
    WorkerThreads workers_;
    EnhancedVoiceManager enhanced_;
};

}  // namespace velmora
