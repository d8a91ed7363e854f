// The host without its window: its commands, its File menu and its plug-ins, and the classes that plug-ins use.

#include "host/MenuModel.h"
#include "kelda/TestHost.h"

#include <QtWidgets>

namespace {

/// A host with the sample plug-in in its folder and a command that returns the entries of the File menu.
struct PluginHost : TestHost
{
    PluginHost()
    {
        host.interpreter().addCommand("fileMenu", [this](const CommandCall &) {
            QStringList entries;
            for (const MenuModel::Entry &entry : host.menus().entries("FileMenu"))
                entries.append(entry.id + '|' + entry.label + '|' + entry.command);
            return Value(entries.join(", "));
        });
        QFile::copy(QCoreApplication::applicationDirPath() + "/../plug-ins/kelda_sample.so", path("kelda_sample.so"));
        QDir::setCurrent(folder.path());
        write("Sample.ksc", "print sourced;");
    }
};

} // namespace

class TestHostProgram : public QObject
{
    Q_OBJECT
private slots:
    void callbacksFillTheFileMenu()
    {
        PluginHost test;
        KStringResource::registerString(KStringResourceId("Tavrin", "kCloudPortalMenu", "Tavrin..."));
        test.play(R"(
menuItem -parent FileMenu -label Own -command own own => own
proc fill() { menuItem -parent FileMenu -label Two -command "go" item; } => nothing
callbacks -addCallback "fill" -hook "addItemToFileMenu" -owner "o"; fileMenu => own|Own|own, item|Two|go
callbacks -removeCallback  "fill" -hook "addItemToFileMenu" -owner "o"; fileMenu => own|Own|own
deleteUI own; fileMenu => nothing
source "TAVRIN"; TavrinCreateUI; TavrinCreateUI; fileMenu => TavrinMenuItem|Tavrin...|Tavrin -showportal
TavrinDeleteUI; TavrinDeleteUI; fileMenu => nothing
)");
    }

    void failedLoadLeavesNothingBehind()
    {
        PluginHost test;
        test.write("text.so", "text");
        qputenv("SAMPLE_FAILS", "1");
        test.play(R"(
loadPlugin "text.so" => failed: line 1: text.so is not a plug-in: FOLDER/text.so: file too short
loadPlugin "kelda_sample.so" => failed: line 1: the initialisation of FOLDER/kelda_sample.so failed: no licence
Sample => failed: line 1: unknown command 'Sample'
pluginInfo -q -listPlugins => nothing
)");
        qunsetenv("SAMPLE_FAILS");
        QCOMPARE(test.run("loadPlugin kelda_sample.so"), QString("info: sourced / info: initialised: Hello "));
    }

    void pluginLoadsAgainAndPostsEachFailureOnce()
    {
        PluginHost test;
        for (int round = 0; round < 2; ++round)
            test.play(R"(
loadPlugin kelda_sample.so => info: sourced / info: initialised: Hello
"" + `pluginInfo -q -listPlugins` + `pluginInfo -q -version kelda_sample` => kelda_sample1.2
Sample execute "print here; frob" => info: here / error: line 1: unknown command 'frob' / unposted: line 1: Sample: line 1: unknown command 'frob'
print a;↵Sample fail; print b => info: a / failed: line 2: Sample: as asked
Sample "a b" c; SampleLeft => info: Hello 1 a b / info: Hello 1
Sample execute "unloadPlugin kelda_sample" => error: line 1: cannot unload the plug-in kelda_sample: one of its commands is running / unposted: line 1: Sample: line 1: cannot unload the plug-in kelda_sample: one of its commands is running
unloadPlugin kelda_sample; pluginInfo -q -listPlugins => nothing
SampleLeft => failed: line 1: unknown command 'SampleLeft'
)");
    }

    void pluginMayRefuseToBeUnloaded()
    {
        auto test = std::make_unique<PluginHost>();
        test->run("loadPlugin kelda_sample.so");
        qputenv("SAMPLE_STAYS", "1");
        test->play("unloadPlugin kelda_sample => failed: line 1: cannot unload the plug-in kelda_sample: not now\n"
                   "Sample still => info: Hello 1 still\n");
        QSignalSpy posted(&test->host, &KeldaHost::messagePosted);
        test.reset();
        qunsetenv("SAMPLE_STAYS");
        QCOMPARE(posted.value(0).value(1).toString(), QString("cannot unload the plug-in kelda_sample: not now"));
    }

    void textsConvertBothWays()
    {
        const KString text("a\xC3\xBC\xF0\x9F\x8F\xBA z\xE2\x82z\xF4\x90\x80\x80z"); // with two invalid sequences
        const QString wide("aü🏺 z\uFFFDz\uFFFDz");
        QCOMPARE(QString::fromStdWString(text.wide()), wide);
        QCOMPARE(QString::fromUtf8(KString(wide.toStdWString().c_str()).utf8()), wide);
    }
};

QTEST_MAIN(TestHostProgram)
#include "tst_host.moc"
