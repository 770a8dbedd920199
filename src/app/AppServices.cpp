#include "app/AppServices.h"

#include <QQmlEngine>

#include "app/EnhancedVoiceManager.h"

namespace velmora {

AppServices::AppServices(EnhancedServices enhanced, QObject* parent)
    : QObject(parent), enhanced_(std::move(enhanced)) {}

AppServices::~AppServices() = default;

EnhancedVoiceManager* AppServices::createManager(QObject* owner) {
    auto* manager = new EnhancedVoiceManager(enhanced_, workers_, owner ? owner : this);
    // Its parent ends it, not the QML garbage collector.
    QQmlEngine::setObjectOwnership(manager, QQmlEngine::CppOwnership);
    return manager;
}

}  // namespace velmora
