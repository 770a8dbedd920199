#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <chrono>
#include <deque>

namespace velmora {

// Hands sentences to the screen reader one at a time, `gap` apart, so that one said in quick
// succession after another is not lost: a screen reader presents only the newest of several
// notifications that arrive together. A progress sentence still waiting is dropped when any
// newer sentence comes, since it is out of date by then.
class AnnouncementPacer : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds gap{1500};

    explicit AnnouncementPacer(QObject* parent = nullptr);

    void say(const QString& sentence, bool progress = false);

signals:
    // The sentence to present now.
    void due(const QString& sentence);

private:
    struct Sentence {
        QString text;
        bool progress = false;
    };
    void next();

    std::deque<Sentence> waiting_;
    QTimer timer_;
};

}  // namespace velmora
