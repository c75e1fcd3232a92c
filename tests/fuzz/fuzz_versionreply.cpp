// The service's answer against another reader of JSON, and what is sent to the service: any text
// ends where it belongs. The whole input is the answer, and each of the texts.

#include "Fuzzing.h"
#include "JsonText.h"

#include <LibCorvane/ServiceMessages_p.h>

#include <QUrl>

#include <nlohmann/json.hpp>

#include <algorithm>

using namespace corvane;
using namespace corvane::fuzz;

namespace {

using Json = nlohmann::json;

/// More than Qt reads of levels.
bool isDeep(const QByteArray &json)
{
    return json.count('{') + json.count('[') > 1000;
}

QString textIn(const Json &reply, const char *key, const char *fallback)
{
    const auto member = reply.find(key);
    if (member == reply.end() || !member->is_string())
        return fallback;
    return QString::fromStdString(member->get<std::string>());
}

/// The other reader takes less for JSON than Qt does, but what it takes means the same.
void checkReply(const QByteArray &body)
{
    const auto latest = parseVersionReply(body);
    const Json reply = Json::parse(body.begin(), body.end(), nullptr, false);
    const bool isReadAlike = !isDeep(body) && !body.contains('\0'); // for the other reader an end
    if (!reply.is_object() || !isReadAlike)
        return;
    require(latest.has_value(), "an object is an answer");
    require(latest->version == textIn(reply, "var", "0.0.0.1"), "the version is read");
    require(latest->downloadUrl == textIn(reply, "download_url", ""), "the URL is read");
    require(latest->digest == textIn(reply, "md5", ""), "the digest is read");
}

void checkUrl(const QString &application)
{
    const QUrl url = versionUrl("127.0.0.1:8080", application);
    require(url.isValid(), "any name makes a URL");
    require(url.scheme() == "http" && url.authority() == "127.0.0.1:8080"
                && url.path() == "/update_check.php",
            "no name leads elsewhere");
    require(url.query().startsWith("app="), "the name is asked for");
}

void checkReport(const QString &text)
{
    const QByteArray body = usageBody({text, text, text, text, text});
    require(!body.contains('\n'), "a report is one line");
    require(feedbackText(text, text) == (text + "\r\n 联系方式:" + text).toUtf8(),
            "feedback says what it was given");
    if (!isReadBack(text))
        return;
    const QJsonObject report = QJsonDocument::fromJson(body).object();
    require(report.size() == 9, "a report has nine members");
    for (const char *key : {"var", "app_name", "app_var", "mac_code", "st", "ct"})
        require(report[QLatin1String(key)] == text, "a report says what it was given");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = Input(data, size).rest();
    checkReply(bytes);
    checkUrl(textOf(bytes));
    checkReport(textOf(bytes));
    return 0;
}
