#include "app/AnnouncementPacer.h"

#include <algorithm>

namespace velmora {

AnnouncementPacer::AnnouncementPacer(QObject* parent) : QObject(parent) {
    timer_.setSingleShot(true);
    timer_.setInterval(gap);
    connect(&timer_, &QTimer::timeout, this, &AnnouncementPacer::next);
}

void AnnouncementPacer::say(const QString& sentence, bool progress) {
    std::erase_if(waiting_, [](const Sentence& queued) { return queued.progress; });
    waiting_.push_back({sentence, progress});
    if (!timer_.isActive()) next();
}

void AnnouncementPacer::next() {
    if (waiting_.empty()) return;
    const QString sentence = waiting_.front().text;
    waiting_.pop_front();
    timer_.start();
    emit due(sentence);
}

}  // namespace velmora
