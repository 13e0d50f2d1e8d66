// Project loading (see ProjectLoader.h).
#include "shared/fileloader/ProjectLoader.h"

#include <charconv>
#include <filesystem>

#include "shared/fileloader/TextFileLoader.h"
#include "shared/filetype/IEquals.h"
#include "shared/protocol/ControllerCapabilities.h"
#include "xml/XmlDocument.h"

namespace Vaxo::Ubrix::Shared {

namespace {

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r' || s.front() == '\n'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r' || s.back() == '\n'))
        s.remove_suffix(1);
    return s;
}

// An item's field: its attribute, else the text of its child element; found tells which.
std::string_view field(const Xml::XmlElement& item, std::string_view name, bool& found) {
    for (const auto& a : item.attributes())
        if (a.name() == name) {
            found = true;
            return trim(a.value());
        }
    for (const auto& c : item.children())
        if (c.name() == name) {
            found = true;
            return trim(c.content());
        }
    found = false;
    return {};
}

bool parseBool(std::string_view s, bool& value) {
    static constexpr std::string_view yes[] = {"true", "1", "yes"};
    static constexpr std::string_view no[] = {"false", "0", "no"};
    for (auto y : yes)
        if (iequals(s, y))
            return value = true, true;
    for (auto n : no)
        if (iequals(s, n))
            return value = false, true;
    return false;
}

} // namespace

std::string stProjectItem::remoteName() const {
    if (name.find('.') != std::string::npos)
        return name;
    const char* ext = FileExt(type);
    return ext ? name + ext : name;
}

ErrorCode ProjectLoader::fail(const std::string& path, const std::string& reason) {
    if (m_logger)
        m_logger(EventType::Error, std::uint64_t(ErrorCode::Project), "Project " + path + ": " + reason);
    return ErrorCode::Project;
}

ErrorCode ProjectLoader::read(const std::string& path, std::vector<stProjectItem>& items) {
    items.clear();
    Xml::XmlDocument doc;
    if (!doc.read(path))
        return fail(path, "cannot be read: " + doc.error());
    const Xml::XmlElement* project = &doc.root();
    if (project->name() != "Project") {
        // The document node may hold the root element as its child.
        const Xml::XmlElement& child = doc.root().child("Project");
        if (child.name() != "Project")
            return fail(path, "the root element is not <Project>");
        project = &child;
    }
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    unsigned index = 0;
    for (const auto& item : project->children()) {
        if (item.name() != "Item")
            return fail(path, "unexpected element <" + std::string(item.name()) + "> in <Project>");
        ++index;
        stProjectItem it;
        bool found = false;
        std::string where = "item " + std::to_string(index);
        std::string_view name = field(item, "Name", found);
        if (!found || name.empty())
            return fail(path, where + ": \"Name\" is missing");
        it.name.assign(name);
        where += " (" + it.name + ")";
        std::string_view file = field(item, "FileName", found);
        if (!found || file.empty())
            return fail(path, where + ": \"FileName\" is missing");
        std::filesystem::path fp{std::string(file)};
        it.fileName = (fp.is_relative() ? folder / fp : fp).string();
        std::string_view type = field(item, "Type", found);
        if (!found || type.empty())
            return fail(path, where + ": \"Type\" is missing");
        it.type = ProgTypeFromName(type);
        if (it.type == FileType::None)
            return fail(path, where + ": unknown \"Type\" \"" + std::string(type) + "\"");
        std::string_view storage = field(item, "Storage", found);
        if (found) {
            unsigned v = 0;
            auto [end, ec] = std::from_chars(storage.data(), storage.data() + storage.size(), v);
            if (ec != std::errc() || end != storage.data() + storage.size() || v > 9)
                return fail(path, where + ": \"Storage\" must be 0 to 9, not \"" + std::string(storage) + "\"");
            it.storage = std::uint8_t(v);
        }
        std::string_view autorun = field(item, "IsAutorun", found);
        if (found && !parseBool(autorun, it.autorun))
            return fail(path, where + ": \"IsAutorun\" must be true or false, not \"" + std::string(autorun) + "\"");
        if (IsEncryptedType(it.type) && compareFwVer(m_firmware, TextFileLoader::kFwEncryptedItems) < 0)
            return fail(path, where + ": encrypted items need controller firmware 2.0335 or later");
        std::error_code ec;
        if (!std::filesystem::is_regular_file(it.fileName, ec))
            return fail(path, where + ": file \"" + it.fileName + "\" not found");
        items.push_back(std::move(it));
    }
    if (items.empty())
        return fail(path, "the project has no items");
    return ErrorCode::Success;
}

ErrorCode ProjectLoader::load(const std::string& path, TextFileLoader& loader, int timeout,
                              const ProgressFn& progress) {
    std::vector<stProjectItem> items;
    if (ErrorCode rc = read(path, items); rc != ErrorCode::Success)
        return rc;
    loader.setFirmwareVersion(m_firmware);
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto& it = items[i];
        TextFileLoader::Options options;
        options.autorun = it.autorun ? 1 : 0;
        options.compressedFlag = 0;
        options.storage = it.storage;
        ErrorCode rc = loader.TransferFile(TextFileLoader::kUpload, it.remoteName(), it.fileName, it.type, 1, 0,
                                           options, timeout, progress);
        if (rc != ErrorCode::Success) {
            char code[32];
            std::snprintf(code, sizeof code, "0x%llx", static_cast<unsigned long long>(rc));
            return fail(path, "item " + std::to_string(i + 1) + " (" + it.name + "): transfer failed with " + code);
        }
    }
    return ErrorCode::Success;
}

} // namespace Vaxo::Ubrix::Shared
