#include "platform/packagekit/PackageKitTransaction.h"

#include "platform/bus/BusConnection.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusServiceWatcher>
#include <QTimer>
#include <QVariantMap>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <span>
#include <utility>

namespace lumivert {

namespace {

const QString transactionInterface = packageKitService + QStringLiteral(".Transaction");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

/// The low half of a package's info; the high half may carry the severity of an update.
constexpr uint infoMask = 0xffff;

constexpr uint exitSuccess = 1;
constexpr uint exitFailed = 2;

constexpr uint statusLoadingCache = 27;
constexpr uint statusWaitingForLock = 30;
constexpr uint statusWaitingForAuth = 31;

constexpr uint percentageUnknown = 101;

// The service may have to be started for its first answer.
constexpr int replyTimeoutMs = 60'000;
// A role may be answered only after a person has typed a password.
constexpr int noTimeout = std::numeric_limits<int>::max();
// An ErrorCode that comes after its Finished is waited for this long.
constexpr int lateErrorMs = 250;

struct Meaning {
    UpdateProblem problem;
    std::initializer_list<uint> numbers;
};

// The error numbers of PackageKit (PK_ERROR_ENUM_… of packagekit-glib2 1.2.6) that can be told
// apart in words.
constexpr Meaning errors[] = {
    {UpdateProblem::noNetwork, {2}},
    {UpdateProblem::untrusted, {5, 30, 31, 50, 51}}, // GPG signature bad or missing, also of all
    {UpdateProblem::sourcesUnreadable, {10, 33, 37, 43, 64}}, // repository wrong, away, not fetched
    {UpdateProblem::interrupted, {17, 65}},                   // cancelled, also for another
    {UpdateProblem::busy, {26, 67}},                          // the lock is another's
    {UpdateProblem::noSpace, {46}},
    {UpdateProblem::notAuthorized, {48}},
};

// The same by PK_EXIT_ENUM_…
constexpr Meaning exits[] = {
    {UpdateProblem::interrupted, {3, 6, 9}}, // cancelled, killed, cancelled for another
    {UpdateProblem::untrusted, {8}},         // would need untrusted packages
};

UpdateProblem problemOf(uint number, std::span<const Meaning> meanings) {
    for (const auto& [problem, numbers] : meanings)
        if (std::ranges::find(numbers, number) != numbers.end())
            return problem;
    return UpdateProblem::other;
}

// What went wrong when a call was answered with this error. `created`: a transaction exists, so the
// service was there.
UpdateFailed callFailure(const QDBusMessage& error, bool created) {
    const QString name = error.errorName();
    const std::string details = error.errorMessage().trimmed().toStdString();
    const QDBusError::ErrorType type = QDBusError(error).type();
    if (type == QDBusError::AccessDenied || name.endsWith(QLatin1String(".RefusedByPolicy")) ||
        name.endsWith(QLatin1String(".NotAuthorized")))
        return {UpdateProblem::notAuthorized, details};
    if (type == QDBusError::NoReply || type == QDBusError::TimedOut ||
        type == QDBusError::Timeout || type == QDBusError::Disconnected)
        return {UpdateProblem::serviceLost, details};
    if (type == QDBusError::ServiceUnknown ||
        name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner") ||
        name.startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn.")))
        return {created ? UpdateProblem::serviceLost : UpdateProblem::noService, details};
    return {UpdateProblem::other, details};
}

} // namespace

PackageKitTransaction::PackageKitTransaction(const QDBusConnection& bus, Request request,
                                             OnProgress onProgress, OnDone onDone)
    : m_bus(bus)
    , m_request(std::move(request))
    , m_onProgress(std::move(onProgress))
    , m_onDone(std::move(onDone)) {
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                  this, SLOT(onLost()));
    call(QDBusMessage::createMethodCall(packageKitService, packageKitPath, packageKitService,
                                        QStringLiteral("CreateTransaction")),
         replyTimeoutMs, [this](const QDBusMessage& reply) {
             m_path = reply.arguments().value(0).value<QDBusObjectPath>().path();
             if (m_path.isEmpty())
                 fail({UpdateProblem::other, "The service made no transaction."});
             else
                 listen();
         });
}

void PackageKitTransaction::call(const QDBusMessage& message, int timeoutMs, OnReply onReply,
                                 bool mayFail) {
    callBus(m_bus, message, timeoutMs, this,
            [this, mayFail, onReply = std::move(onReply)](const QDBusMessage& reply) {
                if (!m_onDone)
                    return;
                if (reply.type() == QDBusMessage::ErrorMessage && !mayFail)
                    fail(callFailure(reply, /*created=*/!m_path.isEmpty()));
                else if (onReply)
                    onReply(reply);
            });
}

QDBusMessage PackageKitTransaction::method(const QString& name) const {
    return QDBusMessage::createMethodCall(m_service, m_path, transactionInterface, name);
}

// By the unique name from here on: a service that was started anew knows nothing of this
// transaction, and nobody else can speak for it. Newer versions of Qt do not tell who replied.
void PackageKitTransaction::listen() {
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    QDBusMessage ask = QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"),
                                                      bus, QStringLiteral("GetNameOwner"));
    ask << packageKitService;
    call(ask, replyTimeoutMs, [this](const QDBusMessage& reply) {
        m_service = reply.arguments().value(0).toString();
        m_bus.connect(m_service, m_path, transactionInterface, QString(), this,
                      SLOT(onSignal(QDBusMessage)));
        m_bus.connect(m_service, m_path, propertiesInterface, QStringLiteral("PropertiesChanged"),
                      this, SLOT(onSignal(QDBusMessage)));
        auto* watcher = new QDBusServiceWatcher(m_service, m_bus,
                                                QDBusServiceWatcher::WatchForUnregistration, this);
        connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this,
                &PackageKitTransaction::onLost);
        begin();
    });
}

void PackageKitTransaction::begin() {
    QStringList hints{
        m_request.quiet ? QStringLiteral("interactive=false") : QStringLiteral("interactive=true"),
        m_request.quiet ? QStringLiteral("background=true") : QStringLiteral("background=false")};
    if (m_request.localOnly)
        hints << QStringLiteral("cache-age=4294967295"); // however old what is there may be
    QDBusMessage setHints = method(QStringLiteral("SetHints"));
    setHints << hints;
    // Without its hint the service may ask for a password, which nobody is there for.
    call(
        setHints, replyTimeoutMs,
        [this](const QDBusMessage&) {
            QDBusMessage role = method(m_request.role);
            role.setArguments(m_request.arguments);
            call(role, noTimeout, nullptr);
        },
        /*mayFail=*/!m_request.quiet);
}

void PackageKitTransaction::onSignal(const QDBusMessage& signal) {
    if (!m_onDone)
        return;
    const QString name = signal.member();
    const QString signature = signal.signature();
    const QVariantList arguments = signal.arguments();
    if (signal.interface() == propertiesInterface) {
        if (signature == QLatin1String("sa{sv}as"))
            onPropertiesChanged(signal);
    } else if (name == QLatin1String("Package") && signature == QLatin1String("uss")) {
        m_result.packages.push_back({arguments[0].toUInt() & infoMask, arguments[1].toString()});
    } else if (name == QLatin1String("UpdateDetail") &&
               signature == QLatin1String("sasasasasasussuss")) {
        const QString text = arguments[7].toString().trimmed();
        m_result.changes = text.isEmpty() ? arguments[8].toString().trimmed() : text;
    } else if (name == QLatin1String("ErrorCode") && signature == QLatin1String("us")) {
        m_errorCode = arguments[0].toUInt();
        m_errorDetails = arguments[1].toString();
        if (m_exit)
            conclude();
    } else if (name == QLatin1String("Finished") && signature == QLatin1String("uu")) {
        onFinished(arguments[0].toUInt());
    }
}

void PackageKitTransaction::onPropertiesChanged(const QDBusMessage& signal) {
    if (signal.arguments()[0].toString() != transactionInterface)
        return;
    const auto changed = qdbus_cast<QVariantMap>(signal.arguments()[1]);
    m_status = changed.value(QStringLiteral("Status"), m_status).toUInt();
    m_percentage = changed.value(QStringLiteral("Percentage"), m_percentage).toUInt();
    // Loading its cache the service counts to 100 before it begins with the work itself.
    if (m_status == statusLoadingCache)
        m_percentage = percentageUnknown;

    UpdateProgress progress;
    if (m_status == statusWaitingForAuth)
        progress.activity = UpdateActivity::waitingForPermission;
    else if (m_status == statusWaitingForLock)
        progress.activity = UpdateActivity::waitingForOthers;
    if (m_percentage <= 100)
        progress.percent = static_cast<int>(m_percentage);
    if (progress == m_reported)
        return;
    m_reported = progress;
    const auto onProgress = m_onProgress; // it may cancel, which lets go of the original
    if (onProgress)
        onProgress(progress);
}

void PackageKitTransaction::onFinished(uint exit) {
    if (m_exit)
        return;
    m_exit = exit;
    if (exit == exitSuccess || m_errorCode)
        conclude();
    else
        QTimer::singleShot(lateErrorMs, this, [this] { conclude(); });
}

void PackageKitTransaction::onLost() {
    // What was said before the end counts, also when the service then stopped.
    if (m_errorCode && !m_exit)
        m_exit = exitFailed;
    fail({UpdateProblem::serviceLost, {}});
}

void PackageKitTransaction::fail(const UpdateFailed& failure) {
    if (!m_exit)
        m_result.failure = failure;
    conclude();
}

void PackageKitTransaction::conclude() {
    const auto onDone = std::exchange(m_onDone, nullptr);
    if (!onDone)
        return;
    m_onProgress = nullptr;
    if (m_exit)
        m_result.failure = packageKitFailure(*m_exit, m_errorCode, m_errorDetails);
    const Result result = std::move(m_result);
    onDone(result);
}

void PackageKitTransaction::cancel() {
    m_onDone = nullptr;
    m_onProgress = nullptr;
    if (!m_service.isEmpty())
        m_bus.send(method(QStringLiteral("Cancel")));
}

std::optional<UpdateFailed> packageKitFailure(uint exit, std::optional<uint> code,
                                              const QString& details) {
    // An error beside a success is a warning.
    if (exit == exitSuccess)
        return std::nullopt;
    return UpdateFailed{code ? problemOf(*code, errors) : problemOf(exit, exits),
                        details.trimmed().toStdString()};
}

} // namespace lumivert
