// The redirect of a browser sign-in, whole and in pieces.

#include "Fuzz.h"
#include "http/RedirectRequest.h"

namespace {

RedirectRequest read(const QList<QByteArray> &request)
{
    RedirectRequest reader;
    for (const QByteArray &piece : request)
        reader.read(piece);
    return reader;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray request = Fuzz::bytes(data, size);
    const RedirectRequest whole = read({request});
    const RedirectRequest pieces = read(Fuzz::pieces(request));
    Fuzz::require(whole.state() == pieces.state(), "pieces and the whole have the same state");
    const QString code = whole.code();
    Fuzz::require(code == pieces.code(), "pieces and the whole have the same code");
    if (code.isEmpty())
        return 0;

    const QByteArray line = request.left(request.indexOf('\n'));
    Fuzz::require(line.startsWith("GET") && line.contains("/crvn/kelda/oauth/dropbox/redirect"), "only the redirect");
    const int at = line.indexOf(code.toLatin1(), line.indexOf('?') + 1);
    Fuzz::require(at > 0 && line.contains("code"), "the code is in the query");
    Fuzz::require(code != QLatin1String("timeout"), "a code is not the word for a time-out");
    for (const char separator : {' ', '\r', '\n', '"', '\'', ',', '?', '&', '='})
        Fuzz::require(!code.contains(QLatin1Char(separator)), "a code has no separator");
    return 0;
}
