// The option box procedures, with a dialog like that of a plug-in.

#include "kelda/TestHost.h"
#include "scene/Translators.h"
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
        setUp("Import", "OBJ", "FOLDER/<b>box.obj");
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
        for (const Translator &translator : Translators::all()) {
            if (!translator.writes())
                continue;
            PluginDialog dialog;
            setUp("ExportAll", translator.name, ".");
            dialog.show();
            QVERIFY(dialog.findChild<QLabel *>("KeldaOptionFile")->isHidden());
            dialog.option<QDoubleSpinBox>("scale")->setValue(2);
            dialog.option<QComboBox>("upAxis")->setCurrentText("Z");
            for (const QString box : {" 0 0 0 1 2 3", " 0 -6 0 2 0 4"}) {
                m_host->run("file -new; file -i \"FOLDER/box.obj\"; file -force -type \"" + translator.name +
                            "\" -ea \"FOLDER/out\"; file -new");
                m_host->import("out." + translator.extension());
                QVERIFY2(m_host->measured().endsWith(box), qPrintable(translator.name));
                QCOMPARE(m_host->run("fileOperationsOptionsUICallback ExportAll PluginLayout"), QString());
            }
            // The first dialog still exists, but the second one gets the options. Both exports share them.
            const PluginDialog next;
            setUp("ExportActive", translator.name, ".");
            QCOMPARE(next.option<QDoubleSpinBox>("scale")->value(), 2.0);
        }
    }

    void dialogShowsTheOptionsOfItsTranslator()
    {
        const PluginDialog dialog;
        setUp("ExportAll", "FBX", ".");
        QVERIFY(dialog.option<QCheckBox>("textures"));
        setUp("ExportAll", "STL", ".");
        QVERIFY(!dialog.option<QCheckBox>("textures"));
        QCOMPARE(dialog.findChildren<QComboBox *>("KeldaOption_upAxis").size(), 1);
    }

    void wrongCallsFail()
    {
        const PluginDialog dialog;
        m_host->run("fileOperationsOptionsUISetup Import PluginLayout");
        m_host->play(R"(
initCurrentFileTypeOption Paint "" "" => failed: line 1: unknown file action "Paint"
initCurrentFileTypeOption => failed: line 1: initCurrentFileTypeOption takes 3 arguments, not 0
fileOperationsOptionsUISetup Import Nowhere => failed: line 1: the layout "Nowhere" does not exist
fileOperationsOptionsUICallback Import Nowhere => failed: line 1: fileOperationsOptionsUISetup was not called for the layout "Nowhere"
fileOperationsOptionsUICallback Import PluginLayout => failed: line 1: the translator of the options was not set
fileOperationsOptionsUICallback ExportAll PluginLayout => failed: line 1: the options in the layout "PluginLayout" belong to another action
fileOperationsOptionsUISetup ExportAll PluginLayout; setCurrentFileTypeOption ExportAll PluginLayout "3DS" => failed: line 1: the host does not write 3DS files
)");
    }

private:
    /// The five commands with which a plug-in fills a dialog.
    void setUp(const QString &action, const QString &translator, const QString &path)
    {
        QString commands("initCurrentFileTypeOption ACTION \"\" \"\"; fileOperationsOptionsUISetup ACTION LAYOUT;"
                         "fileOperationsOptionsUIInitValues ACTION LAYOUT \"KIND\";"
                         "setCurrentFileTypeOption ACTION LAYOUT \"KIND\";"
                         "fileOperationsSelectionChangedCallback ACTION LAYOUT \"PATH\"");
        commands.replace("ACTION", action).replace("LAYOUT", "PluginLayout").replace("KIND", translator);
        QCOMPARE(m_host->run(commands.replace("PATH", path)), QString());
    }

    std::unique_ptr<TestHost> m_host;
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
