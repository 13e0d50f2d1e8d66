// Project loading: a project file lists program items that are transferred to the controller
// and set up there (storage area, run at power-up). The file is XML:
//
//     <?xml version="1.0" encoding="UTF-8"?>
//     <Project>
//       <Item Name="MAIN" FileName="main.bas" Type="basic" Storage="0" IsAutorun="true"/>
//       <Item>
//         <Name>LIB</Name><FileName>lib/util.bal</FileName><Type>basicLibrary</Type>
//       </Item>
//     </Project>
//
// Each field of an Item is an attribute or a child element of that name. "Name", "FileName" and
// "Type" (a type name of the file-type table) are required; "Storage" (0..9) defaults to 0 and
// "IsAutorun" ("true"/"false", "1"/"0", "yes"/"no") to false. A relative FileName is taken from
// the project file's folder. The remote name is Name, plus the type's extension when Name has
// none. Every item is checked before the first byte goes to the controller; encrypted types are
// refused before firmware 2.0335. Any problem fails the load with `Project` and an error event
// naming the project file, the item and the reason.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <vaxo/Records.hpp>
#include <vaxo/Types.hpp>

#include "shared/filetype/FileType.h"

namespace Vaxo::Ubrix::Shared {

class TextFileLoader;

struct stProjectItem {
    std::string name;     // "Name"
    std::string fileName; // "FileName", resolved against the project's folder
    FileType type = FileType::None;
    std::uint8_t storage = 0;
    bool autorun = false;
    std::string remoteName() const;
};

class ProjectLoader {
public:
    ProjectLoader(EventCallback logger, double firmwareVersion)
        : m_logger(std::move(logger)), m_firmware(firmwareVersion) {}

    // Reads and checks the project file. Failure: `Project`, with an error event.
    ErrorCode read(const std::string& path, std::vector<stProjectItem>& items);
    // Reads the project, then transfers every item through the open loader (handshake mode,
    // no compression). Failure: `Project`, with an error event naming the item that failed.
    ErrorCode load(const std::string& path, TextFileLoader& loader, int timeout, const ProgressFn& progress);

private:
    ErrorCode fail(const std::string& path, const std::string& reason);

    EventCallback m_logger;
    double m_firmware;
};

} // namespace Vaxo::Ubrix::Shared
