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

    void storedOptionsChangeTheExportAndTheNextDialog()
    {
        PluginDialog dialog;
        setUp("ExportAll", "OBJ", ".");
        dialog.show();
        QVERIFY(dialog.findChild<QLabel *>("KeldaOptionFile")->isHidden());
        dialog.option<QDoubleSpinBox>("scale")->setValue(2);
        dialog.option<QComboBox>("upAxis")->setCurrentText("Z");
        for (const QString box : {"0 0 0 1 2 3", "0 -6 0 2 0 4"}) { // the second time, the options are stored
            m_host->run("file -new; file -i \"FOLDER/box.obj\"; file -force -type OBJ -ea \"FOLDER/out\"; file -new");
            m_host->import("out.obj");
            QCOMPARE(m_host->run("sceneInfo -q -boundingBox"), box);
            QCOMPARE(m_host->run("fileOperationsOptionsUICallback ExportAll PluginLayout"), QString());
        }
        // The first dialog still exists, but the second one gets the options. Both exports share them.
        const PluginDialog next;
        setUp("ExportActive", "OBJ", ".");
        QCOMPARE(next.option<QDoubleSpinBox>("scale")->value(), 2.0);
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
