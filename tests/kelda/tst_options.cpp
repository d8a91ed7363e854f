// The option box procedures, with a dialog like that of a plug-in.

#include "kelda/TestHost.h"
#include "ui/DialogCommands.h"

#include <QtWidgets>

namespace {

struct PluginDialog : QDialog
{
    PluginDialog() { (new QVBoxLayout(this))->setObjectName("PluginLayout"); }

    template <typename W>
    W *option(const char *key) const
    {
        return findChild<W *>(QStringLiteral("KeldaOption_") + key);
    }
};

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_host = std::make_unique<TestHost>();
        registerOptionBoxCommands(m_host->host, m_host->options);
    }

    void storedOptionsChangeTheImport()
    {
        const PluginDialog dialog;
        setUp("Import", "FBX", ".");
        setUp("Import", "OBJ", "FOLDER/<b>box.obj"); // replaces the options of FBX
        const auto *label = dialog.findChild<QLabel *>("KeldaOptionFile");
        QCOMPARE(label->text(), QString("<b>box.obj"));
        QCOMPARE(label->textFormat(), Qt::PlainText);
        dialog.option<QCheckBox>("triangulate")->click();
        dialog.option<QDoubleSpinBox>("scale")->setValue(3);
        QCOMPARE(m_host->run("fileOperationsOptionsUICallback Import PluginLayout"), QString());
        m_host->import("box.obj");
        QCOMPARE(m_host->measured(), QString("0 8 0 0 0 3 6 9"));
        const PluginDialog next;
        setUp("Import", "OBJ", "");
        QVERIFY(!next.option<QCheckBox>("triangulate")->isChecked());
    }

private:
    /// The five commands with which a plug-in fills a dialog.
    void setUp(const QString &action, const QString &translator, const QString &path)
    {
        const QString commands("initCurrentFileTypeOption %1 \"\" \"\"; fileOperationsOptionsUISetup %1 PluginLayout;"
                               "fileOperationsOptionsUIInitValues %1 PluginLayout \"%2\";"
                               "setCurrentFileTypeOption %1 PluginLayout \"%2\";"
                               "fileOperationsSelectionChangedCallback %1 PluginLayout \"%3\"");
        QCOMPARE(m_host->run(commands.arg(action, translator, path)), QString());
    }

    std::unique_ptr<TestHost> m_host;
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
