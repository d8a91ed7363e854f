#include "tour/Driver.h"

#include "host/KeldaHost.h"
#include "ui/KeldaProgram.h"
#include "ui/MainWindow.h"

#include <openkelda/openkelda.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QtTest>
#include <QWebElement>
#include <QWebFrame>
#include <QWebView>

namespace {

constexpr int kDialogPollMs = 50;
constexpr int kSettleMs = 150;
constexpr int kTitleHeight = 24;
constexpr QSize kWindowSize(1280, 800);

QString nameOf(const QWidget *widget)
{
    for (const QString &name : {widget->accessibleName(), widget->objectName()}) {
        if (!name.isEmpty())
            return name;
    }
    return QString::fromLatin1(widget->metaObject()->className());
}

/// Runs the queued calls of the last mouse or key event.
void deliverQueuedCalls()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
}

} // namespace

Driver::Driver()
{
    connect(&m_dialogWatch, &QTimer::timeout, this, &Driver::answerDialog);
}

Driver::~Driver()
{
    stop();
}

QString Driver::module()
{
    return QStringLiteral(TAVRIN_MODULE);
}

bool Driver::start(const Setup &setup)
{
    KeldaOptions options;
    options.location = QStringLiteral(TAVRIN_LOCATION);
    options.userDir = setup.userDir;
    options.caFile = setup.caFile;
    options.plugIns = QStringList{module()};
    options.internalBrowser = true;
    options.echo = false;
    if (!KeldaProgram::prepareNetwork(options, m_error))
        return false;
    m_program = std::make_unique<KeldaProgram>(options);
    connect(&m_program->host(), &KeldaHost::messagePosted, this, [this](KHost::MessageKind kind, const QString &text) {
        static const QStringList prefixes{"info: ", "warning: ", "error: "};
        m_hostMessages << prefixes[static_cast<int>(kind)] + text;
    });
    if (!m_program->start())
        return fail(m_hostMessages.join(QStringLiteral(" | ")));
    mainWindow()->setGeometry(QRect(QPoint(0, 0), kWindowSize));
    m_dialogWatch.start(kDialogPollMs);
    return waitFor([this] { return mainWindow()->isVisible(); }, QStringLiteral("the host's window"));
}

void Driver::stop()
{
    m_dialogWatch.stop();
    m_program.reset();
}

QWidget *Driver::mainWindow() const
{
    return m_program ? m_program->window() : nullptr;
}

bool Driver::fail(const QString &reason)
{
    m_error = reason;
    return false;
}

QWidget *Driver::find(const QString &name, const QWidget *inside) const
{
    for (QWidget *widget : QApplication::allWidgets()) {
        const bool named = widget->objectName() == name || widget->accessibleName() == name;
        if (named && widget->isVisible() && (!inside || inside->isAncestorOf(widget)))
            return widget;
    }
    return nullptr;
}

bool Driver::waitFor(const std::function<bool()> &holds, const QString &what, int ms)
{
    if (QTest::qWaitFor(holds, ms))
        return true;
    return fail(QStringLiteral("still waiting for %1 after %2 ms; messages: %3 %4")
                    .arg(what)
                    .arg(ms)
                    .arg(m_messages.join(QStringLiteral(" | ")), m_hostMessages.join(QStringLiteral(" | "))));
}

void Driver::settle()
{
    QTest::qWait(kSettleMs);
}

bool Driver::isUsable(QWidget *target, const QPoint &at)
{
    if (!target)
        return fail(QStringLiteral("the widget does not exist or is hidden"));
    const QString name = nameOf(target);
    if (!target->isVisible() || !target->visibleRegion().contains(at))
        return fail(name + QStringLiteral(" is not visible"));
    if (!target->isEnabled())
        return fail(name + QStringLiteral(" is disabled"));
    const QWidget *modal = QApplication::activeModalWidget();
    if (modal && modal != target && !modal->isAncestorOf(target))
        return fail(name + QStringLiteral(" is behind the dialog ") + nameOf(modal));
    const QWidget *top = target->window()->childAt(target->mapTo(target->window(), at));
    if (target != target->window() && top != target && !target->isAncestorOf(top))
        return fail(name + QStringLiteral(" is covered"));
    return true;
}

bool Driver::click(QWidget *target, const QPoint &at)
{
    const QPoint point = at.isNull() && target ? target->rect().center() : at;
    if (!isUsable(target, point))
        return false;
    // A window system activates the clicked window; the offscreen platform does not.
    if (!QApplication::activePopupWidget())
        target->activateWindow();
    m_error.clear();
    QTest::mouseClick(target, Qt::LeftButton, Qt::NoModifier, point);
    deliverQueuedCalls();
    return true;
}

bool Driver::doubleClick(QWidget *target, const QPoint &at)
{
    const QPointer<QWidget> guard(target);
    if (!click(target, at))
        return false;
    if (guard)
        QTest::mouseDClick(target, Qt::LeftButton, Qt::NoModifier, at);
    if (guard)
        QTest::mouseRelease(target, Qt::LeftButton, Qt::NoModifier, at);
    deliverQueuedCalls();
    return true;
}

bool Driver::replace(QWidget *field, const QString &text, Qt::Key last)
{
    if (!click(field))
        return false;
    QWidget *editor = QApplication::focusWidget();
    if (!editor || (editor != field && !field->isAncestorOf(editor)))
        return fail(nameOf(field) + QStringLiteral(" did not get the focus"));
    QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(editor, Qt::Key_Delete);
    for (const QChar letter : text) // keyClicks() supports Latin letters only
        QTest::sendKeyEvent(QTest::Click, editor, Qt::Key_unknown, QString(letter), Qt::NoModifier);
    QTest::keyClick(editor, last);
    deliverQueuedCalls();
    return true;
}

bool Driver::run(const QString &command)
{
    QWidget *line = find(QStringLiteral("KeldaCommandLine"));
    const int before = m_hostMessages.size();
    if (!click(line))
        return false;
    QTest::keyClicks(line, command);
    QTest::keyClick(line, Qt::Key_Return);
    const QStringList errors = m_hostMessages.mid(before).filter(QRegularExpression(QStringLiteral("^error: ")));
    return errors.isEmpty() || fail(errors.join(QStringLiteral(" | ")));
}

bool Driver::choose(QComboBox *box, const QString &entry)
{
    const int row = box ? box->findText(entry) : -1;
    if (row < 0)
        return fail(QStringLiteral("the list has no entry ") + entry);
    const auto isOpen = [box] { return box->view()->isVisible(); };
    if (!click(box) || !waitFor(isOpen, QStringLiteral("the list of choices")))
        return false;
    QTest::keyClick(box->view(), Qt::Key_Home);
    for (int i = 0; i < row; ++i)
        QTest::keyClick(box->view(), Qt::Key_Down);
    QTest::keyClick(box->view(), Qt::Key_Return);
    deliverQueuedCalls();
    return box->currentText() == entry || fail(QStringLiteral("the list still shows ") + box->currentText());
}

bool Driver::chooseFromMenu(const QString &menu, const QString &entry)
{
    auto *window = mainWindow();
    auto *bar = window ? window->findChild<QMenuBar *>() : nullptr;
    QAction *title = nullptr;
    for (QAction *action : bar ? bar->actions() : QList<QAction *>()) {
        if (action->text().remove(QLatin1Char('&')) == menu)
            title = action;
    }
    if (!title || !title->menu())
        return fail(QStringLiteral("the window has no menu ") + menu);
    const QPointer<QMenu> list(title->menu());
    if (!click(bar, bar->actionGeometry(title).center()) ||
        !waitFor([&] { return list && list->isVisible(); }, QStringLiteral("the menu ") + menu))
        return false;
    for (QAction *action : list->actions()) {
        if (action->text().remove(QLatin1Char('&')) == entry && action->isEnabled())
            return click(list, list->actionGeometry(action).center());
    }
    list->close();
    return fail(QStringLiteral("the menu has no entry ") + entry);
}

bool Driver::clickInPage(QWebView *view, const QString &selector)
{
    if (!view)
        return fail(QStringLiteral("the web page is not shown"));
    QWebFrame *frame = view->page()->mainFrame();
    const QWebElement element = frame->findFirstElement(selector);
    if (element.isNull())
        return fail(QStringLiteral("the page has no ") + selector);
    const QString script = QStringLiteral("(function(r) { return [r.left, r.top, r.width, r.height]; })"
                                          "(document.querySelector('%1').getBoundingClientRect())");
    const QVariantList box = frame->evaluateJavaScript(script.arg(selector)).toList();
    const QRectF area(box.value(0).toReal(), box.value(1).toReal(), box.value(2).toReal(), box.value(3).toReal());
    if (area.isEmpty() || !view->rect().contains(area.center().toPoint()))
        return fail(selector + QStringLiteral(" is not in the visible part of the page"));
    return click(view, area.center().toPoint());
}

bool Driver::typeInPage(QWebView *view, const QString &selector, const QString &text)
{
    if (!clickInPage(view, selector))
        return false;
    QTest::keyClicks(view, text);
    const QString value =
        view->page()->mainFrame()->findFirstElement(selector).evaluateJavaScript("this.value").toString();
    return value == text || fail(selector + QStringLiteral(" holds ") + value);
}

void Driver::answerDialog()
{
    auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (m_answering || !dialog || !dialog->isVisible())
        return;
    m_answering = true;
    if (!m_dialogHandler || !m_dialogHandler(*dialog)) {
        if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
            m_messages << box->text();
            QPushButton *button = box->defaultButton();
            click(button ? static_cast<QWidget *>(button) : box->buttons().value(0));
        }
    }
    m_answering = false;
}

QStringList Driver::takeMessages()
{
    return std::exchange(m_messages, {});
}

QStringList Driver::takeHostMessages()
{
    return std::exchange(m_hostMessages, {});
}

QString Driver::ask(const QString &command) const
{
    return KQtUtil::toQString(KGlobal::executeCommandStringResult(KQtUtil::toKString(command)));
}

qint64 Driver::sceneInfo(const char *what) const
{
    return ask(QStringLiteral("sceneInfo -q -") + QLatin1String(what)).toLongLong();
}

QString Driver::textOf(const QString &key) const
{
    return ask(QStringLiteral("getStringResource \"Tavrin\" \"%1\"").arg(key));
}

QImage Driver::picture() const
{
    QWidget *window = mainWindow();
    if (!window)
        return QImage();
    QImage image(window->grab().toImage());
    QPainter painter(&image);
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (!widget->isVisible() || widget == window || widget->windowType() == Qt::ToolTip)
            continue;
        const QRect inside = widget->geometry().translated(-window->geometry().topLeft());
        const QRect title(inside.left(), inside.top() - kTitleHeight, inside.width(), kTitleHeight);
        painter.fillRect(inside.united(title).adjusted(-1, -1, 1, 1), QColor(0x16, 0x17, 0x19));
        painter.fillRect(title, QColor(0x2a, 0x5d, 0x8f));
        painter.setPen(Qt::white);
        painter.drawText(title.adjusted(8, 0, -8, 0), Qt::AlignVCenter | Qt::AlignLeft, widget->windowTitle());
        painter.drawPixmap(inside.topLeft(), widget->grab());
    }
    return image;
}

#include "moc_Driver.cpp"
