// Project loading: a project of several items reaches the simulated controller with its set-up;
// each malformed project fails with Project and an event that names the problem.
#include <gtest/gtest.h>

#include "LoaderTestUtil.h"
#include "shared/fileloader/ProjectLoader.h"

using namespace loadertest;
using Vaxo::Ubrix::Shared::ProjectLoader;
using Vaxo::Ubrix::Shared::stProjectItem;

namespace {

fs::path writeProject(const std::string& name, const std::string& xml) {
    return writeFile(name, Bytes(xml.begin(), xml.end()));
}

const char* kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

} // namespace

TEST_F(LoaderTest, ProjectOfSeveralItemsLoads) {
    Bytes mainBas = mixed(3000, 11), lib = mixed(2000, 12), recipe = everyByte(2);
    writeFile("proj/main.bas", mainBas);
    writeFile("proj/lib/util.bal", lib);
    writeFile("proj/r.recp", recipe);
    fs::path p = writeProject("proj/demo.xml", std::string(kHead) +
                                                   "<Project>\n"
                                                   "  <Item Name=\"MAIN\" FileName=\"main.bas\" Type=\"basic\" "
                                                   "Storage=\"1\" IsAutorun=\"true\"/>\n"
                                                   "  <Item><Name>UTIL</Name><FileName>lib/util.bal</FileName>"
                                                   "<Type>basicLibrary</Type></Item>\n"
                                                   "  <Item Name=\"R1.recp\" FileName=\"r.recp\" Type=\"RECIPE\" "
                                                   "IsAutorun=\"0\"/>\n"
                                                   "</Project>\n");
    ProjectLoader project(events.callback(), 2.0335);
    ASSERT_EQ(project.load(p.string(), *loader, 3000, {}), ErrorCode::Success) << events.all();
    auto main = server.stored("MAIN.bas");
    ASSERT_TRUE(main.has_value());
    EXPECT_EQ(main->data, mainBas);
    EXPECT_TRUE(main->autorun);
    EXPECT_EQ(main->storage, 1);
    auto util = server.stored("UTIL.bal");
    ASSERT_TRUE(util.has_value());
    EXPECT_EQ(util->data, lib);
    EXPECT_FALSE(util->autorun);
    EXPECT_EQ(server.file("R1.recp"), recipe);
}

TEST_F(LoaderTest, MalformedProjectsFailWithTheirReason) {
    writeFile("bad/a.bas", mixed(100));
    struct Case {
        const char* name;
        std::string xml;
        const char* reason;
    } cases[] = {
        {"notxml", "this is not xml", "cannot be read"},
        {"root", std::string(kHead) + "<Programs><Item Name=\"A\"/></Programs>", "root element is not <Project>"},
        {"empty", std::string(kHead) + "<Project></Project>", "no items"},
        {"element", std::string(kHead) + "<Project><Thing/></Project>", "unexpected element <Thing>"},
        {"noname", std::string(kHead) + "<Project><Item FileName=\"a.bas\" Type=\"basic\"/></Project>",
         "item 1: \"Name\" is missing"},
        {"nofile", std::string(kHead) + "<Project><Item Name=\"A\" Type=\"basic\"/></Project>",
         "item 1 (A): \"FileName\" is missing"},
        {"notype", std::string(kHead) + "<Project><Item Name=\"A\" FileName=\"a.bas\"/></Project>",
         "item 1 (A): \"Type\" is missing"},
        {"badtype", std::string(kHead) + "<Project><Item Name=\"A\" FileName=\"a.bas\" Type=\"basicx\"/></Project>",
         "item 1 (A): unknown \"Type\" \"basicx\""},
        {"storage",
         std::string(kHead) + "<Project><Item Name=\"A\" FileName=\"a.bas\" Type=\"basic\" Storage=\"12\"/></Project>",
         "item 1 (A): \"Storage\" must be 0 to 9"},
        {"autorun",
         std::string(kHead) +
             "<Project><Item Name=\"A\" FileName=\"a.bas\" Type=\"basic\" IsAutorun=\"maybe\"/></Project>",
         "item 1 (A): \"IsAutorun\" must be true or false"},
        {"missing",
         std::string(kHead) + "<Project><Item Name=\"A\" FileName=\"a.bas\" Type=\"basic\"/>"
                              "<Item Name=\"B\" FileName=\"gone.bas\" Type=\"basic\"/></Project>",
         "item 2 (B): file "},
        {"encrypted",
         std::string(kHead) + "<Project><Item Name=\"E\" FileName=\"a.bas\" Type=\"encryptedBasic\"/></Project>",
         "item 1 (E): encrypted items need controller firmware 2.0335"},
    };
    for (const auto& c : cases) {
        fs::path p = writeProject(std::string("bad/") + c.name + ".xml", c.xml);
        Events ev;
        ProjectLoader project(ev.callback(), 2.0334);
        EXPECT_EQ(project.load(p.string(), *loader, 3000, {}), ErrorCode::Project) << c.name;
        EXPECT_TRUE(ev.has("Project " + p.string() + ": ")) << c.name << ": " << ev.all();
        EXPECT_NE(ev.all().find(c.reason), std::string::npos) << c.name << ": " << ev.all();
    }
    EXPECT_TRUE(server.transfers().empty()); // nothing of a bad project reaches the controller
}

TEST_F(LoaderTest, ProjectItemRefusedByTheControllerNamesTheItem) {
    writeFile("refuse/a.bas", mixed(100));
    fs::path p = writeProject("refuse/p.xml", std::string(kHead) +
                                                  "<Project><Item Name=\"A\" FileName=\"a.bas\" Type=\"basic\"/>"
                                                  "</Project>");
    Vaxo::Sim::FileTransferServer::Behaviour b;
    b.wrongCrc = true;
    server.setBehaviour(b);
    Events ev;
    ProjectLoader project(ev.callback(), 2.0335);
    EXPECT_EQ(project.load(p.string(), *loader, 3000, {}), ErrorCode::Project);
    EXPECT_NE(ev.all().find("item 1 (A): transfer failed with 0x8100000001"), std::string::npos) << ev.all();
}
