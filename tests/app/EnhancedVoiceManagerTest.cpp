// The manager's states and operations against a fake catalog, store and install pipeline.
#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>
#include <limits>
#include <mutex>

#include "FakePipeline.h"
#include "app/EnhancedVoiceManager.h"
#include "app/ProgressRelay.h"
#include "app/WorkerThreads.h"

namespace velmora::test {
namespace {

using Step = FakePipeline;
using State = VoiceState;

EnhancedVoice voice(const char* release, const char* locale, std::int64_t downloadSize = 12'000) {
    return {*VoiceRelease::named(release), locale, downloadSize, 0, "http://127.0.0.1:9/", {}, ""};
}

// The catalog and the packs on disk as the fake services see them.
struct FakeWorld {
    std::mutex mutex;
    std::vector<EnhancedVoice> catalog{voice("ios6", "en-US"), voice("ios6", "en-GB"), voice("ios6", "fr-FR"),
                                       voice("ios6", "de-DE"), voice("ios5", "en-US")};
    std::string catalogError;
    std::string removeAllError;
    std::vector<InstalledVoice> packs;

    void addPack(const char* release, const char* locale, std::int64_t size) {
        std::lock_guard lock(mutex);
        packs.push_back({*VoiceRelease::named(release), locale, "", {}, size});
    }
};

EnhancedServices fakeServices(const std::shared_ptr<FakeWorld>& world, FakePipeline& pipeline) {
    EnhancedServices services;
    services.fetchCatalog = [world](std::stop_token) {
        std::lock_guard lock(world->mutex);
        if (!world->catalogError.empty()) throw std::runtime_error(world->catalogError);
        return world->catalog;
    };
    services.install = [&pipeline](const EnhancedVoice& v, const auto& progress, const auto& unpacking,
                                   std::stop_token stop) {
        return pipeline.run(v, progress, unpacking, stop);
    };
    services.installedPacks = [world] {
        std::lock_guard lock(world->mutex);
        return world->packs;
    };
    services.removePack = [](const EnhancedVoice&) {};
    services.removeAllPacks = [world] {
        std::lock_guard lock(world->mutex);
        if (!world->removeAllError.empty()) throw std::runtime_error(world->removeAllError);
        world->packs.clear();
    };
    services.addMissingDictionaries = [] {};
    services.containerProblem = [] { return std::nullopt; };
    services.voiceName = [](const EnhancedVoice& v) { return "Name " + v.locale; };
    services.languageName = [](const std::string& locale) { return "Language " + locale; };
    return services;
}

}  // namespace

class EnhancedVoiceManagerTest : public QObject {
    Q_OBJECT

    std::shared_ptr<FakeWorld> world_;
    std::unique_ptr<FakePipeline> pipeline_;
    std::unique_ptr<WorkerThreads> workers_;
    std::unique_ptr<EnhancedVoiceManager> manager_;

    EnhancedVoiceManager& manager() { return *manager_; }
    State stateOf(const char* id) { return manager_->table().state(id); }
    void loaded() {
        manager_->load();
        QTRY_VERIFY(!manager_->isLoading());
        QTRY_COMPARE(workers_->running(), 0u);
    }
    // Lets the pipeline's call make every report pushed to it, and the GUI thread apply them
    // (progress goes over at most once an interval).
    void push(std::size_t call, const std::vector<FakePipeline::Step>& steps) {
        pipeline_->push(call, steps);
        pipeline_->waitUntilTaken(call);
        QTest::qWait(3 * ProgressRelay::interval.count());
    }

private slots:
    void init() {
        world_ = std::make_shared<FakeWorld>();
        pipeline_ = std::make_unique<FakePipeline>();
        workers_ = std::make_unique<WorkerThreads>();
        manager_ = std::make_unique<EnhancedVoiceManager>(fakeServices(world_, *pipeline_), *workers_);
        new QAbstractItemModelTester(manager_->rows(), QAbstractItemModelTester::FailureReportingMode::QtTest,
                                     manager_.get());
    }
    void cleanup() {
        manager_.reset();
        workers_.reset();  // stops and joins the installs still running
        pipeline_.reset();
    }

    void loadPublishesTheCatalogAndAFailedLoadKeepsIt() {
        world_->addPack("ios6", "en-GB", 7);
        QSignalSpy loading(manager_.get(), &EnhancedVoiceManager::isLoadingChanged);
        manager().load();
        QVERIFY(manager().isLoading());
        QVERIFY(manager().showsLoadingRow());
        QTRY_VERIFY(!manager().isLoading());
        QCOMPARE(loading.count(), 2);
        QCOMPARE(manager().voices().size(), 5u);
        QCOMPARE(stateOf("ios6/en-GB"), State{State::Installed{7}});

        world_->catalogError = "The catalog is unreadable.";
        loaded();
        QVERIFY(!manager().showsLoadingRow());
        QCOMPARE(manager().voices().size(), 5u);
        QCOMPARE(manager().catalogError(), QString("The catalog is unreadable."));
        world_->catalogError.clear();
        loaded();
        QCOMPARE(manager().catalogError(), QString());
    }

    void installReportsInOrderAndDropsProgressAfterUnpacking() {
        loaded();
        QSignalSpy rowChanges(manager().rows(), &QAbstractItemModel::dataChanged);
        manager().install("ios6/en-US");
        manager().install("ios6/en-US");
        QCOMPARE(stateOf("ios6/en-US"), State{State::Downloading{0}});
        QCOMPARE(workers_->running(), 1u);

        push(0, {Step::progressTo(0.5)});
        QCOMPARE(stateOf("ios6/en-US"), State{State::Downloading{0.5}});
        const QModelIndex row = rowChanges.last().at(0).toModelIndex();
        QCOMPARE(rowChanges.last().at(1).toModelIndex(), row);
        QCOMPARE(row.data(EnhancedVoiceListModel::DetailRole).toString(),
                 QString("Language en-US \u2014 Downloading 50% of 12 KB"));

        push(0, {Step::unpack(), Step::progressTo(0.9)});
        QCOMPARE(stateOf("ios6/en-US"), State{State::Unpacking{}});
        QSignalSpy totals(manager_.get(), &EnhancedVoiceManager::installedChanged);
        push(0, {Step::finishWith(42)});
        QTRY_COMPARE(stateOf("ios6/en-US"), State{State::Installed{42}});
        QCOMPARE(totals.count(), 1);
        QCOMPARE(manager().installedTotal(), qint64(42));
        QCOMPARE(manager().deleteAllAccessibleName(), QString("Delete all voices, 1 voice, 42 bytes"));
    }

    void installAllPassesOverInstalledFailedAndRunningVoices() {
        world_->addPack("ios6", "en-GB", 7);
        loaded();
        manager().install("ios6/fr-FR");
        push(0, {Step::failWith("The archive is damaged.")});
        QTRY_COMPARE(stateOf("ios6/fr-FR"), State{State::Failed{"The archive is damaged."}});
        manager().install("ios6/de-DE");
        pipeline_->waitForCalls(2);

        manager().installAll("ios6");
        const VoiceStateTable& table = manager().table();
        QVERIFY(table.hasTask("ios6/en-US"));
        QVERIFY(table.hasTask("ios6/de-DE"));
        QVERIFY(!table.hasTask("ios6/en-GB") && !table.hasTask("ios6/fr-FR") && !table.hasTask("ios5/en-US"));
        QCOMPARE(stateOf("ios6/fr-FR"), State{State::Failed{"The archive is damaged."}});
        pipeline_->waitForCalls(3);
        QCOMPARE(pipeline_->voiceOf(2), std::string("ios6/en-US"));
    }

    void removeAllThatFailsKeepsWhatIsOnDisk() {
        world_->addPack("ios6", "en-GB", 7);
        loaded();
        world_->removeAllError = "Permission denied";
        manager().removeAll();
        QTRY_COMPARE(manager().actionError(), QString("Not every voice could be deleted: Permission denied"));
        QCOMPARE(manager().catalogError(), QString());
        QCOMPARE(stateOf("ios6/en-GB"), State{State::Installed{7}});

        world_->removeAllError.clear();
        manager().install("ios6/en-US");
        manager().removeAll();
        QTRY_COMPARE(manager().lastAnnouncement(), QString("All enhanced voices deleted."));
        QCOMPARE(stateOf("ios6/en-GB"), State{});
        QCOMPARE(stateOf("ios6/en-US"), State{});
        QCOMPARE(manager().installedCount(), qint64(0));
        QCOMPARE(manager().actionError(), QString());
    }

    // A cancelled task that is still finishing leaves the voice's new install alone.
    void cancelThenReinstallWhileTheFirstTaskFinishes() {
        loaded();
        manager().install("ios6/en-US");
        pipeline_->waitForCalls(1);
        manager().cancel("ios6/en-US");
        QCOMPARE(stateOf("ios6/en-US"), State{});
        manager().install("ios6/en-US");
        QCOMPARE(stateOf("ios6/en-US"), State{State::Waiting{}});  // until the first has stopped
        pipeline_->waitForEnded(1);  // the first ends with its cancellation error
        QTRY_COMPARE(stateOf("ios6/en-US"), State{State::Downloading{0}});
        QCOMPARE(manager().lastAnnouncement(), QString("Downloading Name en-US, 12 KB."));

        push(1, {Step::progressTo(0.25)});
        QCOMPARE(stateOf("ios6/en-US"), State{State::Downloading{0.25}});
        manager().activate("ios6/en-US");  // a downloading row's action cancels
        pipeline_->waitForEnded(2);
        QCoreApplication::processEvents();
        QCOMPARE(stateOf("ios6/en-US"), State{});
    }

    void installedTotalSaturates() {
        VoiceStateTable table;
        constexpr auto largest = std::numeric_limits<std::int64_t>::max();
        table.set("ios6/en-US", State{State::Installed{largest}});
        table.set("ios6/en-GB", State{State::Installed{10}});
        table.set("ios6/fr-FR", State{State::Failed{"no"}});
        QCOMPARE(table.installedCount(), std::int64_t(2));
        QCOMPARE(table.installedTotal(), largest);
    }
};

}  // namespace velmora::test

QTEST_GUILESS_MAIN(velmora::test::EnhancedVoiceManagerTest)
#include "EnhancedVoiceManagerTest.moc"
