#include "journey/DriverlessPrinter.h"

#include "platform/system/Descriptor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QTest>
#include <QtEndian>

#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lumivert {
namespace {

constexpr const char* program = "/usr/sbin/ippeveprinter";
const QString busName = QStringLiteral("printer-names");

sockaddr_in loopback(int port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<in_port_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int freePort() {
    const Descriptor server(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    if (::bind(server.get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::getsockname(server.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::runtime_error("no free port");
    return ntohs(address.sin_port);
}

bool takesConnections(int port) {
    const Descriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback(port);
    return ::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
           0;
}

} // namespace

/// What the printer asks Avahi for at its start, though it then announces nothing.
class DriverlessPrinter::NameService : public QDBusVirtualObject {
public:
    explicit NameService(const std::string& address) {
        QDBusConnection bus =
            QDBusConnection::connectToBus(QString::fromStdString(address), busName);
        bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
        bus.registerService(QStringLiteral("org.freedesktop.Avahi"));
    }
    ~NameService() override { QDBusConnection::disconnectFromBus(busName); }

    [[nodiscard]] QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        constexpr unsigned apiVersion = 0x0203;
        constexpr int running = 2;
        if (message.member() == QLatin1String("GetAPIVersion"))
            return connection.send(message.createReply(apiVersion));
        if (message.member() == QLatin1String("GetState"))
            return connection.send(message.createReply(running));
        return false;
    }
};

DriverlessPrinter::DriverlessPrinter()
    : m_nameService(std::make_unique<NameService>(m_bus.address()))
    , m_port(freePort()) {
    // A sheet shows once it is whole.
    const std::string take = m_folder.write("take", "#!/bin/sh\ncp \"$1\" \"${0%/*}/coming\"\n"
                                                    "mv \"${0%/*}/coming\" \"${0%/*}/sheet\"\n");
    std::filesystem::permissions(take, std::filesystem::perms(0755));
    std::filesystem::create_directory(m_folder / "spool");
    const std::string bus = "DBUS_SYSTEM_BUS_ADDRESS=" + m_bus.address();
    const std::string home = "HOME=" + m_folder.path();
    const std::string port = std::to_string(m_port);
    const std::string spool = m_folder / "spool";
    const std::string output = m_folder / "log";
    m_pid = ::fork();
    if (m_pid == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL); // also when the test crashes
        const int log = ::open(output.c_str(), O_WRONLY | O_CREAT, 0644);
        ::dup2(log, STDOUT_FILENO);
        ::dup2(log, STDERR_FILENO);
        ::execl("/usr/bin/env", "env", bus.c_str(), home.c_str(), program, "-r", "off", "-n",
                "localhost", "-p", port.c_str(), "-K", m_folder.path().c_str(), "-d", spool.c_str(),
                "-c", take.c_str(), "-a", LUMIVERT_DRIVERLESS_PRINTER, "-v",
                "Lumivert test printer", nullptr);
        ::_exit(127);
    }
    // Waiting answers what it asks the bus.
    if (!QTest::qWaitFor([&] { return takesConnections(m_port); }, 20'000))
        throw std::runtime_error("the printer does not start: " + m_folder.read("log"));
}

DriverlessPrinter::~DriverlessPrinter() {
    ::kill(m_pid, SIGTERM);
    ::waitpid(m_pid, nullptr, 0);
}

bool DriverlessPrinter::isInstalled() {
    return ::access(program, X_OK) == 0;
}

std::string DriverlessPrinter::uri() const {
    return "ipp://localhost:" + std::to_string(m_port) + "/ipp/print";
}

QImage DriverlessPrinter::takeSheet(std::chrono::milliseconds deadline) {
    if (!QTest::qWaitFor([&] { return std::filesystem::exists(m_folder / "sheet"); },
                         static_cast<int>(deadline.count())))
        throw std::runtime_error("no sheet arrived: " + m_folder.read("log"));
    const std::string stream = m_folder.read("sheet");
    std::filesystem::remove(m_folder / "sheet");
    return readUrf(stream);
}

QImage readUrf(const std::string& stream) {
    // A file header, a page header, then lines packed as runs and literals of whole pixels.
    constexpr std::size_t pageAt = 12;
    constexpr std::size_t pixelsAt = pageAt + 32;
    constexpr int channels = 3;
    if (!stream.starts_with("UNIRAST") || stream.size() < pixelsAt)
        throw std::runtime_error("no URF: " + stream.substr(0, 8));
    const auto* bytes = reinterpret_cast<const uchar*>(stream.data());
    const int width = qFromBigEndian<qint32>(bytes + pageAt + 12);
    const int height = qFromBigEndian<qint32>(bytes + pageAt + 16);
    if (bytes[pageAt] != 8 * channels)
        throw std::runtime_error("URF of another depth");

    QImage page(width, height, QImage::Format_RGB888);
    std::size_t at = pixelsAt;
    const auto next = [&]() -> unsigned { return static_cast<unsigned char>(stream.at(at++)); };
    for (int y = 0; y < height;) {
        const int lines = static_cast<int>(next()) + 1;
        uchar* const line = page.scanLine(y);
        for (int x = 0; x < width;) {
            const unsigned code = next();
            const bool isRun = code < 128;
            const int pixels =
                code == 128 ? width - x : static_cast<int>(isRun ? code + 1 : 257 - code);
            if (x + pixels > width)
                throw std::runtime_error("URF with a line that is too long");
            for (int i = 0; i < pixels; ++i, ++x) {
                uchar* const pixel = line + channels * x;
                if (code == 128)
                    std::memset(pixel, 255, channels);
                else if (isRun && i > 0)
                    std::memcpy(pixel, pixel - channels, channels);
                else
                    for (int channel = 0; channel < channels; ++channel)
                        pixel[channel] = static_cast<uchar>(next());
            }
        }
        for (int i = 1; i < lines && y + i < height; ++i)
            std::memcpy(page.scanLine(y + i), line, static_cast<std::size_t>(width) * channels);
        y += lines;
    }
    return page;
}

} // namespace lumivert
