#include "FaultMatrix.h"

#include "DeadPort.h"
#include "FaultOperations.h"
#include "OpenDescriptors.h"
#include "Printers.h"

#include <QMimeDatabase>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

enum class Way { Window, Library };

struct Column {
    int number; ///< From the left.
    const char* title;
    Way way;
    Operation operation;
};

struct Cell {
    Column column;
    int row; ///< From above.
    Fault fault;
    FaultPlan plan;
};

void PrintTo(const Cell& cell, std::ostream* out) // NOLINT(readability-identifier-naming): GoogleTest's name
{
    *out << cell.column.title << ": " << nameOf(cell.fault);
}

std::vector<Cell> cellsOf(const Column& column)
{
    std::vector<Cell> cells;
    int row = 0;
    for (const Fault& fault : allFaults()) {
        if (const std::optional<FaultPlan> plan = planOf(fault, column.operation)) {
            cells.push_back({ column, row, fault, *plan });
        }
        ++row;
    }
    return cells;
}

std::string nameOfCell(const testing::TestParamInfo<Cell>& info)
{
    return nameOf(info.param.fault);
}

/// Every operation, in the window and in the library, meets every fault. The operations of a column share a server.
class FaultMatrixTest : public testing::TestWithParam<Cell> {
protected:
    static void SetUpTestSuite() { scene = std::make_unique<FaultScene>(); }
    static void TearDownTestSuite()
    {
        operations.reset();
        scene.reset();
    }

    void SetUp() override
    {
        const Cell& cell = GetParam();
        RecordProperty("column", cell.column.number);
        RecordProperty("operation", cell.column.title);
        RecordProperty("row", cell.row);
        RecordProperty("stage", textOf(cell.fault.stage));
        RecordProperty("fault", textOf(cell.fault.manner));
        if (operations == nullptr) {
            operations = isInWindow() ? operationsOfWindow(*scene) : operationsOfLibrary(*scene);
            performUndisturbed(); // What is opened once and for all is open from here on.
            QMimeDatabase().mimeTypeForName(u"text/plain"_s); // With what a table that is painted opens.
            restingDescriptors = openDescriptors();
        }
        const bool isDoneUntold = cell.plan.ending.kind != Ending::Kind::Works && isToBeDone().value_or(false);
        RecordProperty("ending", expected().word + (isDoneUntold ? ", done" : ""));
    }

    void TearDown() override
    {
        scene->server().forgetRules();
        operations->leave();
    }

    static Operation operation() { return GetParam().column.operation; }
    static bool isInWindow() { return GetParam().column.way == Way::Window; }
    static Outcome expected() { return operations->outcome(operation(), GetParam().plan.ending); }
    static std::optional<bool> isToBeDone()
    {
        const FaultPlan& plan = GetParam().plan;
        const bool isTakenAway = !isInWindow() && operation() == Operation::Download; // What may not be whole.
        return isTakenAway ? plan.ending.kind == Ending::Kind::Works : plan.isDone;
    }
    /// Whether the window lists the folder when it takes the operation for done.
    static bool isListedAfterwards()
    {
        return isInWindow() && (operation() == Operation::CarefulDeletion || operation() == Operation::FolderCreation);
    }

    /// Does the operation against the fault and answers what was told of its end.
    static QString performDisturbed()
    {
        const FaultPlan& plan = GetParam().plan;
        std::optional<DeadPort> dead;
        if (plan.port != FaultPlan::Port::Served) {
            dead.emplace(plan.port == FaultPlan::Port::Closed ? DeadPort::Kind::Closed : DeadPort::Kind::Full);
            if (plan.port == FaultPlan::Port::Full && isConversation(operation())) {
                dead->giveUpAfter(200ms); // It has no time limit.
            }
        }
        for (const ScriptedRule& rule : plan.rules) {
            scene->server().add(rule);
        }
        scene->prepare(operation());
        const quint16 port = dead ? dead->port() : scene->server().port();
        QString told = operations->perform(operation(), port, plan.needsShortTimeouts);
        if (isFileUnderWay()) {
            told.remove(u"; undecided"_s); // Whether all of it had left us by then is left to chance.
        }
        return told;
    }

    static bool isFileUnderWay()
    {
        const Stage stage = GetParam().fault.stage;
        return operation() == Operation::Upload
            && (stage == Stage::DataConnection || stage == Stage::Command || stage == Stage::Transfer);
    }

    static void performUndisturbed()
    {
        scene->server().forgetRules();
        operations->leave();
        scene->prepare(operation());
        EXPECT_EQ(operations->perform(operation(), scene->server().port(), false),
                  operations->outcome(operation(), { Ending::Kind::Works }).told);
        EXPECT_TRUE(scene->isDone(operation()));
        operations->leave();
    }

    static inline std::unique_ptr<FaultScene> scene;
    static inline std::unique_ptr<FaultOperations> operations;
    static inline int restingDescriptors = 0;
};

TEST_P(FaultMatrixTest, EndsInTheRightWordsInTimeAndTheNextOperationWorks)
{
    const FaultPlan& plan = GetParam().plan;
    const auto start = std::chrono::steady_clock::now();

    EXPECT_EQ(performDisturbed(), expected().told);

    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_TRUE(elapsed < 15s);
    EXPECT_TRUE(elapsed >= plan.silence);
    if (const std::optional<bool> isDone = isToBeDone()) {
        EXPECT_EQ(scene->isDone(operation()), *isDone);
    }
    if (isListedAfterwards() && expected().word != "fails") {
        EXPECT_TRUE(scene->isListedTruly());
    }
    performUndisturbed();
    EXPECT_TRUE(waitForDescriptors([](int count) { return count == restingDescriptors; })) << openDescriptors();
}

const Column windowUpload{ 0, "upload (window)", Way::Window, Operation::Upload };
const Column windowDownload{ 1, "download (window)", Way::Window, Operation::Download };
const Column windowListing{ 2, "listing (window)", Way::Window, Operation::Listing };
const Column windowCreation{ 3, "new folder (window)", Way::Window, Operation::FolderCreation };
const Column windowManualCreation{ 4, "manual new folder (window)", Way::Window, Operation::ManualFolderCreation };
const Column windowDeletion{ 5, "delete (window)", Way::Window, Operation::CarefulDeletion };
const Column windowTest{ 6, "connection test (window)", Way::Window, Operation::ConnectionTest };
const Column libraryUpload{ 7, "upload (library)", Way::Library, Operation::Upload };
const Column libraryDownload{ 8, "download (library)", Way::Library, Operation::Download };
const Column libraryListing{ 9, "listing (library)", Way::Library, Operation::Listing };
const Column libraryCreation{ 10, "new folder (library)", Way::Library, Operation::FolderCreation };
const Column libraryDeletion{ 11, "delete (library)", Way::Library, Operation::Deletion };
const Column libraryCarefulDeletion{ 12, "careful delete (library)", Way::Library, Operation::CarefulDeletion };
const Column libraryLogin{ 13, "login test (library)", Way::Library, Operation::LoginTest };
const Column libraryCarefulLogin{ 14, "careful login test (library)", Way::Library, Operation::CarefulLoginTest };

using testing::ValuesIn;

INSTANTIATE_TEST_SUITE_P(WindowUpload, FaultMatrixTest, ValuesIn(cellsOf(windowUpload)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(WindowDownload, FaultMatrixTest, ValuesIn(cellsOf(windowDownload)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(WindowListing, FaultMatrixTest, ValuesIn(cellsOf(windowListing)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(WindowFolderCreation, FaultMatrixTest, ValuesIn(cellsOf(windowCreation)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(WindowManualFolderCreation, FaultMatrixTest, ValuesIn(cellsOf(windowManualCreation)),
                         nameOfCell);
INSTANTIATE_TEST_SUITE_P(WindowDeletion, FaultMatrixTest, ValuesIn(cellsOf(windowDeletion)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(WindowConnectionTest, FaultMatrixTest, ValuesIn(cellsOf(windowTest)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(LibraryUpload, FaultMatrixTest, ValuesIn(cellsOf(libraryUpload)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(LibraryDownload, FaultMatrixTest, ValuesIn(cellsOf(libraryDownload)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(LibraryListing, FaultMatrixTest, ValuesIn(cellsOf(libraryListing)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(LibraryFolderCreation, FaultMatrixTest, ValuesIn(cellsOf(libraryCreation)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(LibraryDeletion, FaultMatrixTest, ValuesIn(cellsOf(libraryDeletion)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(LibraryCarefulDeletion, FaultMatrixTest, ValuesIn(cellsOf(libraryCarefulDeletion)),
                         nameOfCell);
INSTANTIATE_TEST_SUITE_P(LibraryLoginTest, FaultMatrixTest, ValuesIn(cellsOf(libraryLogin)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(LibraryCarefulLoginTest, FaultMatrixTest, ValuesIn(cellsOf(libraryCarefulLogin)), nameOfCell);

} // namespace
