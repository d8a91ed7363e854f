#include "ui/OptionBox.h"

#include "host/KeldaHost.h"
#include "scene/SceneCommands.h"
#include "scene/Translators.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

OptionPanel::OptionPanel(FileAction action) : m_action(action), m_box(new QGroupBox(this)), m_file(new QLabel(m_box))
{
    setObjectName(QStringLiteral("KeldaOptionPanel"));
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_box);
    auto *inner = new QVBoxLayout(m_box);
    m_file->setObjectName(QStringLiteral("KeldaOptionFile"));
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
    m_form = new QFormLayout(m_options);
    m_form->setContentsMargins(0, 0, 0, 0);
    for (const OptionSpec &spec : specs)
        addRow(spec, values.value(spec.key, spec.initial));
    m_box->layout()->addWidget(m_options);
}

void OptionPanel::addRow(const OptionSpec &spec, const QVariant &value)
{
    const QString name = QStringLiteral("KeldaOption_") + spec.key;
    switch (spec.kind) {
    case OptionSpec::Kind::Bool: {
        auto *box = new QCheckBox(spec.label);
        box->setObjectName(name);
        box->setChecked(value.toBool());
        m_form->addRow(box);
        break;
    }
    case OptionSpec::Kind::Number: {
        auto *box = new QDoubleSpinBox;
        box->setObjectName(name);
        box->setDecimals(6);
        box->setRange(OptionStore::smallestScale, OptionStore::largestScale);
        box->setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
        box->setValue(value.toDouble());
        m_form->addRow(spec.label, box);
        break;
    }
    case OptionSpec::Kind::Choice: {
        auto *box = new QComboBox;
        box->setObjectName(name);
        box->addItems(spec.choices);
        box->setCurrentText(value.toString());
        m_form->addRow(spec.label, box);
        break;
    }
    }
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
        throw FileError(QStringLiteral("no translator's options are shown"));
    for (const OptionSpec &spec : OptionStore::specs(m_action, *m_translator)) {
        const auto *widget = m_options->findChild<QWidget *>(QStringLiteral("KeldaOption_") + spec.key);
        QVariant value;
        if (const auto *check = qobject_cast<const QCheckBox *>(widget))
            value = check->isChecked();
        else if (const auto *number = qobject_cast<const QDoubleSpinBox *>(widget))
            value = number->value();
        else if (const auto *choice = qobject_cast<const QComboBox *>(widget))
            value = choice->currentText();
        options.set(m_action, *m_translator, spec.key, value);
    }
}

namespace {

/// The option box commands and the panels they made, by layout name.
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

/// A closed dialog may wait for its deletion and still hold a layout of that name, with a panel in it: a layout
/// without a panel goes first, then one that shows.
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
            const bool fresh = !owner->findChild<OptionPanel *>();
            const int rank = (fresh ? 2 : 0) + (owner->isVisible() ? 1 : 0);
            if (rank > bestRank) {
                best = layout;
                bestRank = rank;
            }
        }
    }
    if (!best)
        throw CommandError(QStringLiteral("there is no layout named \"%1\"").arg(name));
    return best;
}

void OptionBox::setUp(FileAction action, const QString &layoutName)
{
    QLayout *layout = findLayout(layoutName);
    if (auto *old = layout->parentWidget()->findChild<OptionPanel *>())
        delete old;
    auto *panel = new OptionPanel(action);
    layout->addWidget(panel);
    m_panels.insert(layoutName, panel);
}

OptionPanel &OptionBox::panel(FileAction action, const QString &layoutName)
{
    const QPointer<OptionPanel> panel = m_panels.value(layoutName);
    if (!panel)
        throw CommandError(QStringLiteral("no options were set up in a layout named \"%1\"").arg(layoutName));
    if (panel->action() != action)
        throw CommandError(QStringLiteral("the options in \"%1\" belong to another action").arg(layoutName));
    return *panel;
}

void OptionBox::showTranslator(FileAction action, const QString &layoutName, const QString &translatorName)
{
    OptionPanel &box = panel(action, layoutName);
    const Translator &translator = Translators::named(translatorName);
    if (box.translator() != &translator)
        box.show(translator, m_options.values(action, translator));
}

/// Hands ACTION and all texts, \p count of them, to \p body.
CommandFunction procedure(std::size_t count, std::function<void(FileAction, const QStringList &)> body)
{
    return refusing([count, body = std::move(body)](const CommandCall &call) {
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
