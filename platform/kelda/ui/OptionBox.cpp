#include "host/KeldaHost.h"
#include "scene/FileOptions.h"
#include "scene/SceneCommands.h"
#include "scene/Translators.h"
#include "ui/DialogCommands.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPointer>
#include <QVBoxLayout>

namespace {

const QString kPanelName = QStringLiteral("KeldaOptionPanel");

class OptionPanel : public QWidget
{
public:
    explicit OptionPanel(FileAction action);

    FileAction action() const { return m_action; }
    /// Replaces the widgets by those for \p translator and sets them to \p values.
    void show(const Translator &translator, const OptionValues &values);
    /// Shows the name of the file. "." and an empty text hide it.
    void setFile(const QString &path);
    /// Stores the values of the widgets. Throws FileError if show() was not called.
    void store(OptionStore &options) const;
    /// Returns null before show().
    const Translator *translator() const { return m_translator; }

private:
    QWidget *createWidget(const OptionSpec &spec, const QVariant &value) const;

    FileAction m_action;
    const Translator *m_translator = nullptr;
    QGroupBox *m_box;
    QLabel *m_file;
    QPointer<QWidget> m_options;
};

OptionPanel::OptionPanel(FileAction action) : m_action(action), m_box(new QGroupBox(this)), m_file(new QLabel(m_box))
{
    setObjectName(kPanelName);
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_box);
    auto *inner = new QVBoxLayout(m_box);
    m_file->setTextFormat(Qt::PlainText);
    m_file->hide();
    inner->addWidget(m_file);
}

void OptionPanel::show(const Translator &translator, const OptionValues &values)
{
    const std::vector<OptionSpec> specs = OptionStore::specs(m_action, translator);
    delete m_options;
    m_translator = &translator;
    m_box->setTitle((m_action == FileAction::Import ? tr("%1 import") : tr("%1 export")).arg(translator.name));
    m_options = new QWidget(m_box);
    auto *form = new QFormLayout(m_options);
    form->setContentsMargins(0, 0, 0, 0);
    for (const OptionSpec &spec : specs) {
        QWidget *widget = createWidget(spec, values.value(spec.key, spec.initial));
        widget->setObjectName(QStringLiteral("KeldaOption_") + spec.key);
        if (spec.kind == OptionSpec::Kind::Bool)
            form->addRow(widget);
        else
            form->addRow(spec.label, widget);
    }
    m_box->layout()->addWidget(m_options);
}

QWidget *OptionPanel::createWidget(const OptionSpec &spec, const QVariant &value) const
{
    if (spec.kind == OptionSpec::Kind::Bool) {
        auto *box = new QCheckBox(spec.label, m_options);
        box->setChecked(value.toBool());
        return box;
    }
    if (spec.kind == OptionSpec::Kind::Number) {
        auto *box = new QDoubleSpinBox(m_options);
        box->setDecimals(6);
        box->setRange(1e-6, 1e6);
        box->setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
        box->setValue(value.toDouble());
        return box;
    }
    auto *box = new QComboBox(m_options);
    box->addItems(spec.choices);
    box->setCurrentText(value.toString());
    return box;
}

void OptionPanel::setFile(const QString &path)
{
    const QString name = path == QLatin1String(".") ? QString() : QFileInfo(path).fileName();
    m_file->setText(name);
    m_file->setToolTip(path.toHtmlEscaped());
    m_file->setVisible(!name.isEmpty());
}

void OptionPanel::store(OptionStore &options) const
{
    if (!m_translator)
        throw FileError(QStringLiteral("the translator of the options was not set"));
    for (const OptionSpec &spec : OptionStore::specs(m_action, *m_translator)) {
        const auto *widget = m_options->findChild<QWidget *>(QStringLiteral("KeldaOption_") + spec.key);
        const char *property = spec.kind == OptionSpec::Kind::Bool     ? "checked"
                               : spec.kind == OptionSpec::Kind::Number ? "value"
                                                                       : "currentText";
        options.set(m_action, *m_translator, spec.key, widget->property(property));
    }
}

/// The option box commands and their panels by layout name.
class OptionBox
{
public:
    explicit OptionBox(OptionStore &options) : m_options(options) {}

    void setUp(FileAction action, const QString &layoutName);
    void showTranslator(FileAction action, const QString &layoutName, const QString &translatorName);
    OptionPanel &panel(FileAction action, const QString &layoutName);
    OptionStore &options() { return m_options; }

private:
    static QLayout *findLayout(const QString &name);

    OptionStore &m_options;
    QHash<QString, QPointer<OptionPanel>> m_panels;
};

/// Prefers a layout without a panel, then a visible one, because a closed dialog that is not yet deleted may have a
/// layout of the same name.
QLayout *OptionBox::findLayout(const QString &name)
{
    QLayout *best = nullptr;
    int bestRank = -1;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        const QList<QLayout *> layouts = window->findChildren<QLayout *>(name);
        for (QLayout *layout : layouts) {
            const QWidget *owner = layout->parentWidget();
            if (!owner)
                continue;
            const bool fresh = !owner->findChild<QWidget *>(kPanelName);
            const int rank = (fresh ? 2 : 0) + (owner->isVisible() ? 1 : 0);
            if (rank > bestRank) {
                best = layout;
                bestRank = rank;
            }
        }
    }
    if (!best)
        throw CommandError(QStringLiteral("the layout \"%1\" does not exist").arg(name));
    return best;
}

void OptionBox::setUp(FileAction action, const QString &layoutName)
{
    QLayout *layout = findLayout(layoutName);
    delete layout->parentWidget()->findChild<QWidget *>(kPanelName);
    auto *panel = new OptionPanel(action);
    layout->addWidget(panel);
    m_panels.insert(layoutName, panel);
}

OptionPanel &OptionBox::panel(FileAction action, const QString &layoutName)
{
    const QPointer<OptionPanel> panel = m_panels.value(layoutName);
    if (!panel)
        throw CommandError(
            QStringLiteral("fileOperationsOptionsUISetup was not called for the layout \"%1\"").arg(layoutName));
    if (panel->action() != action)
        throw CommandError(QStringLiteral("the options in the layout \"%1\" belong to another action").arg(layoutName));
    return *panel;
}

void OptionBox::showTranslator(FileAction action, const QString &layoutName, const QString &translatorName)
{
    OptionPanel &box = panel(action, layoutName);
    const Translator &translator = Translators::named(translatorName);
    if (box.translator() != &translator)
        box.show(translator, m_options.values(action, translator));
}

/// Returns a command with \p count arguments, the first of which is ACTION. \p body receives all arguments as texts.
CommandFunction procedure(std::size_t count, std::function<void(FileAction, const QStringList &)> body)
{
    return withFileErrors([count, body = std::move(body)](const CommandCall &call) {
        call.requireCount(count);
        const QStringList texts = call.texts();
        body(OptionStore::actionNamed(texts.first()), texts);
        return Value();
    });
}

} // namespace

void registerOptionBoxCommands(KeldaHost &host, OptionStore &options)
{
    auto box = std::make_shared<OptionBox>(options);
    Interpreter &interpreter = host.interpreter();
    const auto showTranslator = [box](FileAction action, const QStringList &texts) {
        box->showTranslator(action, texts[1], texts[2]);
    };
    interpreter.addCommand("initCurrentFileTypeOption", procedure(3, [](FileAction, const QStringList &) {}));
    interpreter.addCommand(
        "fileOperationsOptionsUISetup",
        procedure(2, [box](FileAction action, const QStringList &texts) { box->setUp(action, texts[1]); }));
    interpreter.addCommand("fileOperationsOptionsUIInitValues", procedure(3, showTranslator));
    interpreter.addCommand("setCurrentFileTypeOption", procedure(3, showTranslator));
    interpreter.addCommand("fileOperationsSelectionChangedCallback",
                           procedure(3, [box](FileAction action, const QStringList &texts) {
                               box->panel(action, texts[1]).setFile(texts[2]);
                           }));
    interpreter.addCommand("fileOperationsOptionsUICallback",
                           procedure(2, [box](FileAction action, const QStringList &texts) {
                               box->panel(action, texts[1]).store(box->options());
                           }));
}
