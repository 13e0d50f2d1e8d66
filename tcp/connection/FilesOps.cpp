// Operations of the file-transfer family: each transfer opens the controller's file-transfer
// link with a loader of its own, runs, and closes it again.
#include "shared/fileloader/ProjectLoader.h"
#include "shared/fileloader/TextFileLoader.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

using Shared::FileType;
using Shared::TextFileLoader;

ErrorCode Connection_TCP::SetFileTransferPort(std::uint16_t port) {
    m_fileTransferPort.store(port ? port : TextFileLoader::kDefaultPort);
    return ErrorCode::Success;
}

ErrorCode Connection_TCP::GetFileTransferPort(std::uint16_t& port) {
    port = m_fileTransferPort.load();
    return ErrorCode::Success;
}

namespace {

// Opens a loader on the controller's host and the file-transfer port; the firmware version
// is the connection's.
ErrorCode openLoader(Connection_TCP& c, TextFileLoader& loader, std::uint16_t port) {
    double firmware = 0;
    if (ErrorCode rc = c.GetFirmwareVersionNumber(firmware); rc != ErrorCode::Success)
        return rc;
    loader.setFirmwareVersion(firmware);
    std::string host = c.port().hostName();
    if (host.empty())
        host.assign(Shared::ConnectionBase::tcp_default_hostname);
    loader.setDefaultHost(host);
    if (port == 0)
        c.GetFileTransferPort(port);
    unsigned int connectTimeout = 5000;
    c.GetTcpConnectTimeout(connectTimeout);
    return loader.OpenConnection("", port, connectTimeout);
}

} // namespace

ErrorCode Connection_TCP::UploadFile(std::string_view remote, std::string_view local, std::uint32_t type,
                                     std::uint32_t mode, int level, std::uint8_t option1, std::uint8_t option2,
                                     std::uint8_t option3, int timeout, std::uint16_t port,
                                     const Shared::ProgressFn& progress) {
    if (type >= Shared::FileTypeCount)
        return refused(ErrorCode::BadArgument);
    TextFileLoader loader(m_logger);
    // The encrypted-item gate comes before any byte, even before the link opens.
    double firmware = 0;
    if (ErrorCode rc = GetFirmwareVersionNumber(firmware); rc != ErrorCode::Success)
        return rc;
    if (Shared::IsEncryptedType(FileType(type)) &&
        Shared::compareFwVer(firmware, TextFileLoader::kFwEncryptedItems) < 0) {
        AddLogEvent(Shared::EventType::Error, std::uint64_t(ErrorCode::BadArgument),
                    "Transferring encrypted items is not supported before MV f/w v2.0335");
        return ErrorCode::BadArgument;
    }
    // Refused before the link opens: nothing reaches the controller.
    if (TextFileLoader::Unsupported(TextFileLoader::kUpload, remote, level))
        return ErrorCode::NotSupported;
    if (ErrorCode rc = openLoader(*this, loader, port); rc != ErrorCode::Success)
        return rc;
    TextFileLoader::Options options{option1, option2, option3};
    ErrorCode rc = loader.TransferFile(TextFileLoader::kUpload, remote, local, FileType(type), mode, level, options,
                                       timeout, progress);
    loader.CloseConnection();
    return rc;
}

ErrorCode Connection_TCP::DownloadFile(std::string_view remote, std::string_view local, std::uint32_t type,
                                       std::uint32_t mode, int timeout, std::uint16_t port,
                                       const Shared::ProgressFn& progress) {
    if (type >= Shared::FileTypeCount)
        return refused(ErrorCode::BadArgument);
    // A closed link is Disconnected first; then refused before the link opens.
    double firmware = 0;
    if (ErrorCode rc = GetFirmwareVersionNumber(firmware); rc != ErrorCode::Success)
        return rc;
    if (TextFileLoader::Unsupported(TextFileLoader::kDownload, remote, 0))
        return ErrorCode::NotSupported;
    TextFileLoader loader(m_logger);
    if (ErrorCode rc = openLoader(*this, loader, port); rc != ErrorCode::Success)
        return rc;
    ErrorCode rc = loader.TransferFile(TextFileLoader::kDownload, remote, local, FileType(type), mode, 0,
                                       TextFileLoader::Options{0, 0, 0}, timeout, progress);
    loader.CloseConnection();
    return rc;
}

ErrorCode Connection_TCP::GetLocalFileCRC(std::string_view path, bool compressed, std::uint64_t& crc) {
    return TextFileLoader::GetLocalFileCRC(path, compressed, crc);
}

ErrorCode Connection_TCP::GetRemoteFileCRC(std::string_view remote, std::uint64_t& crc) {
    std::uint16_t value = 0;
    ErrorCode rc = FileCommandValue("CRC", remote, "", value);
    if (rc == ErrorCode::Success)
        crc = value;
    return rc;
}

ErrorCode Connection_TCP::LoadProject(std::string_view projectFile) {
    if (projectFile.empty())
        return refused(ErrorCode::BadArgument);
    double firmware = 0;
    if (ErrorCode rc = GetFirmwareVersionNumber(firmware); rc != ErrorCode::Success)
        return rc;
    Shared::ProjectLoader project(m_logger, firmware);
    std::vector<Shared::stProjectItem> items;
    const std::string path(projectFile);
    // Checked in full before the link opens: a malformed project sends nothing.
    if (ErrorCode rc = project.read(path, items); rc != ErrorCode::Success)
        return rc;
    TextFileLoader loader(m_logger);
    if (ErrorCode rc = openLoader(*this, loader, 0); rc != ErrorCode::Success) {
        AddLogEvent(Shared::EventType::Error, std::uint64_t(ErrorCode::Project),
                    "Project " + path + ": the file-transfer link cannot be opened");
        return ErrorCode::Project;
    }
    ErrorCode rc = project.load(path, loader, 0, {});
    loader.CloseConnection();
    return rc;
}

} // namespace Vaxo::Ubrix::TCP
