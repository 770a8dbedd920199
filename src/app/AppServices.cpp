#include "app/AppServices.h"

namespace velmora {

AppServices::AppServices(EnhancedServices enhanced, QObject* parent)
    : QObject(parent), enhanced_(std::move(enhanced), workers_) {}

AppServices::~AppServices() = default;

}  // namespace velmora
