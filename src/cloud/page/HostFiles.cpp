#include "cloud/page/HostFiles.h"

#include "TavrinHelper.h"
#include "TavrinStrings.h"

#include <string>

bool getFileExtension(KString &name, KString &extension)
{
    const std::string text = name.utf8();
    const std::size_t dot = text.rfind('.');
    const std::size_t separator = text.find_last_of("\\/");
    if (dot == std::string::npos)
        return false;
    const bool hasSeparator = separator != std::string::npos;
    if (hasSeparator ? dot <= separator + 1 : dot == 0)
        return false;
    extension = KString(text.substr(dot + 1));
    return true;
}

void CleanFilename(QString &name)
{
    name = name.trimmed();
    const int separator = std::max(name.lastIndexOf(QLatin1Char('\\')), name.lastIndexOf(QLatin1Char('/')));
    if (separator >= 0)
        name = name.mid(separator);
    const QString forbidden = QStringLiteral("\\/:*?\"<>|");
    for (const QChar character : forbidden)
        name.remove(character);
    name = name.trimmed().toLower();
}

KString GetImportTranslatorNameFromExtension(const KString &extension)
{
    KString command("Tavrin_GetImportTranslatorFromFileExtension(\"");
    command += TavrinHelper::quoted(extension);
    command += "\");";
    return KGlobal::executeCommandStringResult(command);
}

KString GetImportTranslatorName(const KString &path)
{
    QString name = KQtUtil::toQString(path);
    CleanFilename(name);
    KString cleaned = KQtUtil::toKString(name);
    KString extension;
    if (!getFileExtension(cleaned, extension))
        return {};
    return GetImportTranslatorNameFromExtension(extension);
}

void getAllExportTranslator(KStringArray &names, KStringArray &extensions)
{
    const auto read = [](const char *command, KStringArray &texts) {
        KCommandResult result;
        texts.clear();
        if (KGlobal::executeCommand(command, result))
            result.getResult(texts);
    };
    read("Tavrin_GetExportTranslatorList();", names);
    read("Tavrin_GetExportTranslatorExtensionList();", extensions);
}

KString localFolder(const KString &subFolder)
{
    return TavrinHelper::tempCloudDirectory() + "/" + subFolder + "/";
}

void DisplaySuccess(bool import, KString name)
{
    KString message = TavrinStrings::getString(import ? TavrinStrings::KCloudPortalImportSuccess
                                                      : TavrinStrings::KCloudPortalExportSuccess);
    message += name;
    KGlobal::displayInfo(message);
}

void executeCommandSilently(const KString &command)
{
    KCommandResult state;
    int echo = 0;
    if (KGlobal::executeCommand("commandEcho -q -state", state))
        state.getResult(echo);
    if (echo == 0) {
        KGlobal::executeCommand(command);
        return;
    }
    KGlobal::executeCommand("commandEcho -state false;");
    KGlobal::executeCommand(command);
    KGlobal::executeCommand("commandEcho -state true;");
}
