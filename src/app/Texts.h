#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QString>
#include <string_view>

#include "presenters/EnhancedTexts.h"
#include "presenters/MainWindowTexts.h"

namespace velmora {

// The fixed texts of both screens for QML, as `Texts.windowTitle` and so on; the texts that
// depend on state come from the models.
class Texts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString windowTitle READ windowTitle CONSTANT)
    Q_PROPERTY(QString enhancedVoicesButton READ enhancedVoicesButton CONSTANT)
    Q_PROPERTY(QString refreshVoicesButton READ refreshVoicesButton CONSTANT)
    Q_PROPERTY(QString placeholder READ placeholder CONSTANT)
    Q_PROPERTY(QString rateLabel READ rateLabel CONSTANT)
    Q_PROPERTY(QString rateAccessibilityLabel READ rateAccessibilityLabel CONSTANT)
    Q_PROPERTY(QString stopButton READ stopButton CONSTANT)
    Q_PROPERTY(QString emptyTitle READ emptyTitle CONSTANT)
    Q_PROPERTY(QString emptyExplanation READ emptyExplanation CONSTANT)
    Q_PROPERTY(QString refreshButton READ refreshButton CONSTANT)
    Q_PROPERTY(QString systemWideHint READ systemWideHint CONSTANT)
    Q_PROPERTY(QString enhancedTitle READ enhancedTitle CONSTANT)
    Q_PROPERTY(QString introduction READ introduction CONSTANT)
    Q_PROPERTY(QString upgradeNote READ upgradeNote CONSTANT)
    Q_PROPERTY(QString installedLabel READ installedLabel CONSTANT)
    Q_PROPERTY(QString deleteAllButton READ deleteAllButton CONSTANT)
    Q_PROPERTY(QString tryAgainButton READ tryAgainButton CONSTANT)
    Q_PROPERTY(QString loading READ loading CONSTANT)
    Q_PROPERTY(QString downloadAllButton READ downloadAllButton CONSTANT)
    Q_PROPERTY(QString installFromFileButton READ installFromFileButton CONSTANT)
    Q_PROPERTY(QString installFromFileDialogTitle READ installFromFileDialogTitle CONSTANT)
    Q_PROPERTY(QString archiveFilter READ archiveFilter CONSTANT)
    Q_PROPERTY(QString getButton READ getButton CONSTANT)
    Q_PROPERTY(QString retryButton READ retryButton CONSTANT)
    Q_PROPERTY(QString removeButton READ removeButton CONSTANT)
    Q_PROPERTY(QString removeDialogTitle READ removeDialogTitle CONSTANT)
    Q_PROPERTY(QString deleteAllDialogTitle READ deleteAllDialogTitle CONSTANT)
    Q_PROPERTY(QString cancelButton READ cancelButton CONSTANT)

public:
    explicit Texts(QObject* parent = nullptr) : QObject(parent) {}

    static QString windowTitle() { return text(MainWindowTexts::title); }
    static QString enhancedVoicesButton() { return text(MainWindowTexts::enhancedVoicesButton); }
    static QString refreshVoicesButton() { return text(MainWindowTexts::refreshVoicesButton); }
    static QString placeholder() { return text(MainWindowTexts::placeholder); }
    static QString rateLabel() { return text(MainWindowTexts::rateLabel); }
    static QString rateAccessibilityLabel() { return text(MainWindowTexts::rateAccessibilityLabel); }
    static QString stopButton() { return text(MainWindowTexts::stopButton); }
    static QString emptyTitle() { return text(MainWindowTexts::emptyTitle); }
    static QString emptyExplanation() { return text(MainWindowTexts::emptyExplanation); }
    static QString refreshButton() { return text(MainWindowTexts::refreshButton); }
    static QString systemWideHint() { return text(MainWindowTexts::systemWideHint); }
    static QString enhancedTitle() { return text(EnhancedTexts::title); }
    static QString introduction() { return text(EnhancedTexts::introduction); }
    static QString upgradeNote() { return text(EnhancedTexts::upgradeNote); }
    static QString installedLabel() { return text(EnhancedTexts::installedLabel); }
    static QString deleteAllButton() { return text(EnhancedTexts::deleteAllButton); }
    static QString tryAgainButton() { return text(EnhancedTexts::tryAgainButton); }
    static QString loading() { return text(EnhancedTexts::loading); }
    static QString downloadAllButton() { return text(EnhancedTexts::downloadAllButton); }
    static QString installFromFileButton() { return text(EnhancedTexts::installFromFileButton); }
    static QString installFromFileDialogTitle() { return text(EnhancedTexts::installFromFileDialogTitle); }
    static QString archiveFilter() { return text(EnhancedTexts::archiveFilter); }
    static QString getButton() { return text(EnhancedTexts::getButton); }
    static QString retryButton() { return text(EnhancedTexts::retryButton); }
    static QString removeButton() { return text(EnhancedTexts::removeButton); }
    static QString removeDialogTitle() { return text(EnhancedTexts::removeDialogTitle); }
    static QString deleteAllDialogTitle() { return text(EnhancedTexts::deleteAllDialogTitle); }
    static QString cancelButton() { return text(EnhancedTexts::cancelButton); }

private:
    static QString text(std::string_view value) {
        return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
    }
};

}  // namespace velmora
