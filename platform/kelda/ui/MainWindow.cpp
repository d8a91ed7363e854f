#include "ui/MainWindow.h"

#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "language/Interpreter.h"
#include "scene/Scene.h"
#include "scene/Translators.h"
#include "ui/Viewport.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QStyleFactory>
#include <QVBoxLayout>

namespace {

const QColor kInfoColour(200, 205, 210);
const QColor kWarningColour(235, 190, 80);
const QColor kErrorColour(240, 105, 95);
const QColor kCommandColour(125, 175, 235);

constexpr int kLongestMessage = 4000;

QColor messageColour(KHost::MessageKind kind)
{
    if (kind == KHost::MessageKind::kError)
        return kErrorColour;
    return kind == KHost::MessageKind::kWarning ? kWarningColour : kInfoColour;
}

QString filterOf(const Translator &translator)
{
    return QStringLiteral("%1 (*.%2)").arg(translator.name, translator.extensions.join(QStringLiteral(" *.")));
}

} // namespace

MainWindow::MainWindow(KeldaHost &host, Scene &scene)
    : m_host(host), m_scene(scene), m_viewport(new Viewport(scene, this))
{
    setObjectName(QStringLiteral("KeldaMainWindow"));
    setWindowTitle(QStringLiteral("Kelda"));
    resize(1280, 800);
    setCentralWidget(m_viewport);
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    buildObjectDock();
    buildCommandDock();
    buildMenus();

    connect(&m_host, &KeldaHost::messagePosted, this, &MainWindow::showMessage);
    connect(&m_host, &KeldaHost::commandEchoed, this, &MainWindow::showEcho);
    connect(&m_host.menus(), &MenuModel::changed, this, &MainWindow::refreshFileMenu);
    connect(&m_scene, &Scene::changed, this, &MainWindow::refreshObjects);
    connect(&m_scene, &Scene::selectionChanged, this, &MainWindow::showSelection);
    refreshFileMenu();
    refreshObjects();
}

void MainWindow::buildMenus()
{
    m_fileMenu = menuBar()->addMenu(tr("&File"));
    m_fileMenu->setObjectName(QStringLiteral("KeldaFileMenu"));
    const auto add = [this](const char *name, const QString &text, const QKeySequence &keys, auto slot) {
        QAction *action = m_fileMenu->addAction(text, this, slot);
        action->setObjectName(QString::fromLatin1(name));
        action->setShortcut(keys);
    };
    add("KeldaNew", tr("&New"), QKeySequence::New, [this] { runCommand(QStringLiteral("file -force -new")); });
    add("KeldaImport", tr("&Import..."), QKeySequence(QStringLiteral("Ctrl+I")), [this] { importFile(); });
    add("KeldaExportAll", tr("&Export All..."), QKeySequence(QStringLiteral("Ctrl+E")), [this] { exportFile(); });
    m_fileMenu->addSeparator();
    m_entriesEnd = m_fileMenu->addSeparator();
    add("KeldaQuit", tr("&Quit"), QKeySequence::Quit, [this] { close(); });
    // Scripts may add other entries each time.
    connect(m_fileMenu, &QMenu::aboutToShow, this, [this] { m_host.menus().rebuild(); });
}

QDockWidget *MainWindow::addDock(const QString &title, const QString &name, QWidget *content, Qt::DockWidgetArea area)
{
    auto *dock = new QDockWidget(title, this);
    dock->setObjectName(name);
    dock->setWidget(content);
    addDockWidget(area, dock);
    return dock;
}

void MainWindow::buildObjectDock()
{
    m_objects = new QListWidget(this);
    m_objects->setObjectName(QStringLiteral("KeldaObjectList"));
    m_objects->setAccessibleName(tr("Scene objects"));
    m_objects->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_objects->setUniformItemSizes(true);
    QDockWidget *dock = addDock(tr("Objects"), QStringLiteral("KeldaObjectDock"), m_objects, Qt::LeftDockWidgetArea);
    resizeDocks({dock}, {190}, Qt::Horizontal);
    connect(m_objects, &QListWidget::itemSelectionChanged, this, &MainWindow::applySelection);
}

void MainWindow::buildCommandDock()
{
    auto *panel = new QWidget(this);
    auto *layout = new QVBoxLayout(panel);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(4);
    m_messages = new QPlainTextEdit(panel);
    m_messages->setObjectName(QStringLiteral("KeldaMessages"));
    m_messages->setAccessibleName(tr("Messages"));
    m_messages->setReadOnly(true);
    m_messages->setMaximumBlockCount(2000);
    m_messages->setMinimumHeight(48);
    m_commandLine = new QLineEdit(panel);
    m_commandLine->setObjectName(QStringLiteral("KeldaCommandLine"));
    m_commandLine->setAccessibleName(tr("Command line"));
    m_commandLine->setPlaceholderText(tr("Type a command and press Return"));
    m_commandLine->installEventFilter(this);
    layout->addWidget(m_messages);
    layout->addWidget(m_commandLine);
    QDockWidget *dock = addDock(tr("Command"), QStringLiteral("KeldaCommandDock"), panel, Qt::BottomDockWidgetArea);
    resizeDocks({dock}, {170}, Qt::Vertical);
    connect(m_commandLine, &QLineEdit::returnPressed, this, &MainWindow::runTypedCommand);
}

void MainWindow::refreshFileMenu()
{
    // Deleted later, because one of these actions may have started the running command.
    for (QAction *action : qAsConst(m_entryActions)) {
        m_fileMenu->removeAction(action);
        action->deleteLater();
    }
    m_entryActions.clear();
    for (const MenuModel::Entry &entry : m_host.menus().entries(QStringLiteral("FileMenu"))) {
        QString label = entry.label;
        auto *action = new QAction(label.replace(QLatin1Char('&'), QStringLiteral("&&")), m_fileMenu);
        action->setObjectName(entry.id);
        connect(action, &QAction::triggered, this, [this, command = entry.command] { runCommand(command); });
        m_fileMenu->insertAction(m_entriesEnd, action);
        m_entryActions.append(action);
    }
}

void MainWindow::refreshObjects()
{
    m_syncing = true;
    m_objects->setUpdatesEnabled(false);
    m_objects->clear();
    m_objects->addItems(m_scene.names());
    m_objects->setUpdatesEnabled(true);
    m_syncing = false;
    showSelection();
}

void MainWindow::showSelection()
{
    if (m_syncing)
        return;
    m_syncing = true;
    QItemSelection selected;
    int row = 0;
    for (const SceneObject &object : m_scene.objects()) {
        if (object.selected) {
            const QModelIndex index = m_objects->model()->index(row, 0);
            selected.select(index, index);
        }
        ++row;
    }
    m_objects->selectionModel()->select(selected, QItemSelectionModel::ClearAndSelect);
    m_syncing = false;
}

void MainWindow::applySelection()
{
    if (m_syncing)
        return;
    m_syncing = true;
    QStringList names;
    const QList<QListWidgetItem *> items = m_objects->selectedItems();
    for (const QListWidgetItem *item : items)
        names.append(item->text());
    m_scene.setSelection(names);
    m_syncing = false;
}

void MainWindow::importFile()
{
    QStringList filters;
    QStringList patterns;
    for (const Translator &translator : Translators::all()) {
        filters.append(filterOf(translator));
        patterns += translator.extensions;
    }
    filters.prepend(tr("All models (*.%1)").arg(patterns.join(QStringLiteral(" *."))));
    filters.append(tr("All files (*)"));
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Import"), QString(), filters.join(QStringLiteral(";;")));
    if (!path.isEmpty())
        runCommand(QStringLiteral("file -force -pr -i ") + quotedArgument(path));
}

void MainWindow::exportFile()
{
    QStringList filters;
    for (const Translator &translator : Translators::all()) {
        if (translator.writes())
            filters.append(filterOf(translator));
    }
    QString chosen;
    const QString path =
        QFileDialog::getSaveFileName(this, tr("Export All"), QString(), filters.join(QStringLiteral(";;")), &chosen);
    if (path.isEmpty())
        return;
    runCommand(QStringLiteral("file -force -pr -type %1 -ea %2")
                   .arg(quotedArgument(chosen.section(QStringLiteral(" ("), 0, 0)), quotedArgument(path)));
}

void MainWindow::runCommand(const QString &text)
{
    Value ignored;
    m_host.run(text, ignored, true);
}

void MainWindow::runTypedCommand()
{
    const QString text = m_commandLine->text();
    if (text.trimmed().isEmpty())
        return;
    m_history.removeAll(text);
    m_history.append(text);
    m_historyPosition = m_history.size();
    m_commandLine->clear();
    runCommand(text);
}

void MainWindow::recall(int step)
{
    m_historyPosition = qBound(0, m_historyPosition + step, m_history.size());
    m_commandLine->setText(m_history.value(m_historyPosition));
}

void MainWindow::showMessage(KHost::MessageKind kind, const QString &text)
{
    append(text, messageColour(kind));
}

void MainWindow::showEcho(const QString &command, const QString &result)
{
    append(command, kCommandColour);
    if (!result.isEmpty())
        append(tr("Result: %1").arg(result), kInfoColour);
}

void MainWindow::append(const QString &text, const QColor &colour)
{
    QTextCharFormat format;
    format.setForeground(colour);
    QTextCursor cursor(m_messages->document());
    cursor.movePosition(QTextCursor::End);
    if (!m_messages->document()->isEmpty())
        cursor.insertBlock();
    cursor.insertText(text.left(kLongestMessage), format);
    m_messages->setTextCursor(cursor);
    m_messages->ensureCursorVisible();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    QMainWindow::closeEvent(event);
    if (event->isAccepted())
        emit closed();
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_commandLine && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            recall(key == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::applyDarkStyle()
{
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette palette;
    const QColor window(58, 60, 64);
    const QColor base(40, 42, 46);
    const QColor text(222, 224, 227);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::PlaceholderText, QColor(135, 139, 145));
    palette.setColor(QPalette::Button, QColor(72, 75, 80));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, kErrorColour);
    palette.setColor(QPalette::Link, kCommandColour);
    palette.setColor(QPalette::Highlight, QColor(62, 112, 174));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(120, 124, 130));
    QApplication::setPalette(palette);
}

#include "moc_MainWindow.cpp"
