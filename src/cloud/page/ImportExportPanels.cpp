#include "cloud/page/ImportExportPanels.h"

#include "cloud/page/HostFiles.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinHelper.h"
#include "TavrinStrings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kPanelHeight = 70;
constexpr int kFieldHeight = 20;

QPushButton *createButton(const KStringResourceId &text, const char *accessibleName, QWidget *panel)
{
    auto *button = new QPushButton(TavrinStrings::text(text), panel);
    button->setFixedHeight(kFieldHeight);
    button->setAccessibleName(QString::fromLatin1(accessibleName));
    button->setCheckable(false);
    button->setEnabled(false);
    return button;
}

QLineEdit *createNameField(const char *objectName, QWidget *panel)
{
    auto *field = new QLineEdit(panel);
    field->setObjectName(QString::fromLatin1(objectName));
    field->setFixedHeight(kFieldHeight);
    field->setStyleSheet(QStringLiteral("QLineEdit { background-color: #303030; }"));
    return field;
}

QLabel *createLabel(const KStringResourceId &text, QWidget *field)
{
    auto *label = new QLabel(TavrinStrings::text(text), field->parentWidget());
    label->setBuddy(field);
    return label;
}

void initPanel(QWidget *panel)
{
    panel->setFixedHeight(kPanelHeight);
    new QVBoxLayout(panel);
}

/// Adds a row of \p widgets to \p panel and returns it.
QHBoxLayout *addRow(QWidget *panel, std::initializer_list<QWidget *> widgets)
{
    auto *row = new QHBoxLayout;
    for (QWidget *widget : widgets)
        row->addWidget(widget);
    static_cast<QVBoxLayout *>(panel->layout())->addLayout(row);
    return row;
}

} // namespace

ImportPanel::ImportPanel(Portal_CloudBrowserWindows *page)
    : QWidget(page), m_name(createNameField("CloudImportFileName", this)),
      m_import(createButton(TavrinStrings::kCloudPortalImport, "CloudImportButton", this)),
      m_options(new QCheckBox(this))
{
    initPanel(this);
    m_name->setEnabled(false);
    m_name->setReadOnly(true);
    m_nameLabel = createLabel(TavrinStrings::kCloudPortalFileName, m_name);
    connect(m_import, &QPushButton::clicked, page, &Portal_CloudBrowserWindows::ImportClick);
    addRow(this, {m_nameLabel, m_name, m_import});

    m_options->setFixedHeight(22);
    m_options->setObjectName(QStringLiteral("CloudImportOptions"));
    addRow(this, {m_options, createLabel(TavrinStrings::kCloudPortalImportOptions, m_options)})->addStretch();
}

void ImportPanel::setChoice(const QString &name, bool isImportable)
{
    m_name->setText(name);
    m_import->setEnabled(isImportable);
}

bool ImportPanel::isOptionsChecked() const
{
    return m_options->checkState() != Qt::Unchecked;
}

void ImportPanel::enableControls(bool enable)
{
    if (!enable)
        clearChoice();
    m_options->setEnabled(enable);
    m_nameLabel->setEnabled(enable);
}

ExportPanel::ExportPanel(Portal_CloudBrowserWindows *page)
    : QWidget(page), m_name(createNameField("CloudExportFileName", this)),
      m_exportSelection(createButton(TavrinStrings::kCloudPortalExportSelection, "CloudExportSelectionButton", this)),
      m_exportAll(createButton(TavrinStrings::kCloudPortalExportAll, "CloudExportAllButton", this)),
      m_filter(new QComboBox(this)),
      m_options(new QPushButton(TavrinHelper::portalIcon("option_gear.png"), QString(), this))
{
    using Page = Portal_CloudBrowserWindows;
    initPanel(this);
    m_nameLabel = createLabel(TavrinStrings::kCloudPortalFileName, m_name);
    connect(m_name, &QLineEdit::textChanged, page, &Page::exportTextChangedEvent);
    connect(m_exportSelection, &QPushButton::clicked, page, &Page::ExportSelectionClick);
    connect(m_exportAll, &QPushButton::clicked, page, &Page::ExportAllClick);
    addRow(this, {m_nameLabel, m_name, m_exportSelection, m_exportAll});

    m_filter->setObjectName(QStringLiteral("CloudExportFilter"));
    connect(m_filter, qOverload<int>(&QComboBox::currentIndexChanged), page, &Page::ExportFilterFilesClick);
    m_options->setFixedHeight(kFieldHeight);
    m_options->setObjectName(QStringLiteral("CloudExportOptionsButton"));
    m_options->setAccessibleName(TavrinStrings::text(TavrinStrings::kCloudPortalExportOptions));
    m_options->setToolTip(TavrinStrings::text(TavrinStrings::kCloudPortalExportOptions));
    connect(m_options, &QPushButton::clicked, page, &Page::ShowExportOptions);
    addRow(this, {createLabel(TavrinStrings::kCloudPortalFilter, m_filter), m_filter, m_options})
        ->setStretchFactor(m_filter, 1);
}

void ExportPanel::setTranslators(const std::vector<Translator> &translators)
{
    const int remembered = std::max(m_filter->currentIndex(), 0);
    m_filter->clear();
    // Set before the entries are added, because adding the first one emits that it was chosen.
    m_translators = translators;
    for (const Translator &translator : translators)
        m_filter->addItem(KQtUtil::toQString(translator.name));
    if (m_filter->count() > 0)
        m_filter->setCurrentIndex(remembered < m_filter->count() ? remembered : 0);
}

void ExportPanel::useTranslator(int index)
{
    const bool isListed = index >= 0 && index < static_cast<int>(m_translators.size());
    m_translator = isListed ? m_translators[static_cast<std::size_t>(index)] : Translator();
}

bool ExportPanel::chooseExtension(const KString &extension)
{
    const auto isWanted = [&](const Translator &one) { return one.extension == extension && !one.name.isEmpty(); };
    const auto found = std::find_if(m_translators.begin(), m_translators.end(), isWanted);
    if (found == m_translators.end())
        return false;
    m_filter->setCurrentIndex(static_cast<int>(found - m_translators.begin()));
    return true;
}

void ExportPanel::setName(const QString &name)
{
    m_name->setText(name);
}

KString ExportPanel::fileName() const
{
    QString typed = m_name->text();
    CleanFilename(typed);
    KString name = KQtUtil::toKString(typed);
    KString extension;
    if (!getFileExtension(name, extension) || extension != m_translator.extension)
        name += KString(".") + m_translator.extension;
    return name;
}

void ExportPanel::enableButtons(bool enable)
{
    m_exportSelection->setEnabled(enable);
    m_exportAll->setEnabled(enable);
}

void ExportPanel::enableControls(bool enable)
{
    m_name->setEnabled(enable);
    if (!enable)
        enableButtons(false);
    m_options->setEnabled(enable);
    m_nameLabel->setEnabled(enable);
}

#include "moc_ImportExportPanels.cpp"
