// `vaxo demo`: a guided session against the embedded simulated controller, printing each step.
// Every step after the open is guarded: a step that fails says so and the walk goes on.
#include <CLI/CLI.hpp>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>
#include <unistd.h>

#include "tools/Progress.h"
#include "tools/Tool.h"

namespace vaxo::tool {

namespace {

struct Step {
    Session& s;
    int failed = 0;
    // Runs one step; a failure is reported by name and description and counted.
    template <class F>
    void operator()(const char* title, F&& body) {
        std::printf("\n-- %s\n", title);
        const uint64_t e = body();
        if (e) {
            ++failed;
            std::printf("   (step not completed: 0x%010llx %s: %s)\n", static_cast<unsigned long long>(e),
                        errorName(e).c_str(), errorText(e).c_str());
        }
    }
};

#define TRY(call)                           \
    do {                                    \
        if (const uint64_t e_ = (call); e_) \
            return e_;                      \
    } while (0)

void onFile(void*, const VaxoFileInfo* info, const char* name) {
    std::printf("   %-12s type %-3d %6u bytes  crc %04X\n", name, int(info->type), unsigned(info->size),
                unsigned(info->crc));
}

void onProcess(void*, const VaxoProcessInfo* p, const char* name) {
    std::printf("   process %-3d %-12s state %d line %d\n", int(p->process), name, int(p->state), int(p->line));
}

} // namespace

int runDemo(Session& s) {
    std::printf("== libVaxo_Ubrix_TCP demo against the embedded simulated controller\n");
    std::string version;
    vaxo_GetApiVersionStr(s.handle(), collectText, &version);
    std::printf("API version             %s\n", version.c_str());
    if (int rc = s.open())
        return rc;
    const VaxoHandle h = s.handle();
    Step step{s};

    step("controller", [&]() -> uint64_t {
        double fw = 0, type = 0, procs = 0;
        TRY(vaxo_GetFirmwareVersionNumber(h, &fw));
        TRY(vaxo_GetSystemParameter_CONTROL(h, &type));
        std::printf("   controller type %.0f, firmware %.4f\n", type, fw);
        TRY(vaxo_GetSystemParameter_PROCNUMBER(h, &procs));
        std::printf("   %g processes\n", procs);
        return 0;
    });

    step("VR and TABLE memory", [&]() -> uint64_t {
        for (uint32_t i = 0; i < 4; ++i)
            TRY(vaxo_SetVrValue(h, i, 1.5 * i));
        double vr[4] = {};
        TRY(vaxo_GetMultiVrValues(h, 0, 4, vr));
        std::printf("   VR(0..3) = %g %g %g %g\n", vr[0], vr[1], vr[2], vr[3]);
        double table[5] = {10, 20, 30, 40, 50};
        TRY(vaxo_SetMultiTableValues(h, 100, 5, table));
        double t = 0;
        TRY(vaxo_GetTableValue(h, 102, &t));
        std::printf("   TABLE(100..104) written, TABLE(102) = %g\n", t);
        return 0;
    });

    step("named parameters", [&]() -> uint64_t {
        double speed = 0, units = 0;
        TRY(vaxo_SetAxisParameter_SPEED(h, 0, 250));
        TRY(vaxo_GetAxisParameter_SPEED(h, 0, &speed));
        TRY(vaxo_GetAxisParameter_UNITS(h, 0, &units));
        std::printf("   SPEED AXIS(0) = %g, UNITS AXIS(0) = %g\n", speed, units);
        return 0;
    });

    step("a move, watched until the axis is idle", [&]() -> uint64_t {
        TRY(vaxo_SetAxisParameter_SPEED(h, 0, 500));
        TRY(vaxo_SetAxisParameter_ACCEL(h, 0, 5000));
        TRY(vaxo_SetAxisParameter_DECEL(h, 0, 5000));
        TRY(vaxo_MoveAbs(h, 200, 0));
        std::printf("   MOVEABS(200) AXIS(0)\n");
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        double idle = 0, dpos = 0, mpos = 0;
        while (std::chrono::steady_clock::now() < until) {
            TRY(vaxo_GetAxisParameter_IDLE(h, 0, &idle));
            TRY(vaxo_GetAxisParameter_DPOS(h, 0, &dpos));
            TRY(vaxo_GetAxisParameter_MPOS(h, 0, &mpos));
            std::printf("   DPOS %8.2f  MPOS %8.2f  %s\n", dpos, mpos, idle != 0 ? "idle" : "moving");
            if (idle != 0)
                return 0;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        std::printf("   the axis did not come to rest within 10 s\n");
        return 0;
    });

    step("a parameter block: fetch all, then only what changed", [&]() -> uint64_t {
        uint32_t indices[8] = {0, 1, 2, 3, 4, 5, 6, 7};
        int32_t block = -1;
        TRY(vaxo_ParamBlockDefineVr(h, indices, 8, &block));
        double values[8] = {};
        TRY(vaxo_ParamBlockFetchAllVr(h, block, values, 8));
        std::printf("   block %d: VR(0..7) =", block);
        for (double v : values)
            std::printf(" %g", v);
        std::printf("\n");
        TRY(vaxo_SetVrValue(h, 2, 42));
        TRY(vaxo_SetVrValue(h, 5, -7.5));
        uint64_t changed = 0;
        TRY(vaxo_ParamBlockFetchChangedVr(h, block, values, 8, &changed));
        for (uint32_t i = 0; i < 8; ++i)
            if (changed & (uint64_t(1) << i))
                std::printf("   changed: VR(%u) = %g\n", i, values[i]);
        return vaxo_ParamBlockDelete(h, block);
    });

    step("a program uploaded with progress, listed and run", [&]() -> uint64_t {
        const auto path = std::filesystem::temp_directory_path() / ("vaxo_demo_" + std::to_string(::getpid()) + ".bas");
        {
            std::ofstream f(path, std::ios::binary);
            f << "' the demo's program\r\n";
            for (int i = 0; i < 40; ++i)
                f << "VR(" << 100 + i << ") = " << i << " * 2\r\n";
            f << "WHILE TRUE\r\n  WA(100)\r\nWEND\r\n";
        }
        ProgressBar bar("   upload", false, stdout);
        const uint64_t up = vaxo_UploadFile(h, "DEMO.BAS", path.string().c_str(), 0, 1, 0, 0, 0, 0, 10000,
                                            s.filePort(), ProgressBar::callback, &bar);
        uint64_t local = 0, remote = 0;
        if (!up)
            vaxo_GetLocalFileCRC(h, path.string().c_str(), false, &local);
        std::filesystem::remove(path);
        TRY(up);
        TRY(vaxo_GetRemoteFileCRC(h, "DEMO", &remote));
        std::printf("   CRC local %04llX, controller %04llX: %s\n", static_cast<unsigned long long>(local),
                    static_cast<unsigned long long>(remote), local == remote ? "match" : "MISMATCH");
        std::printf("   directory:\n");
        TRY(vaxo_Dir(h, onFile, nullptr));
        TRY(vaxo_RunProgram2(h, "DEMO"));
        std::printf("   RUN \"DEMO\"; processes:\n");
        TRY(vaxo_GetProcessList(h, onProcess, nullptr));
        TRY(vaxo_StopProgram2(h, "DEMO"));
        std::printf("   STOP \"DEMO\"\n");
        return 0;
    });

    step("errors are codes with names and texts", [&]() -> uint64_t {
        for (uint64_t code : {0x0400000013ull, 0x8100000006ull, 0x0100000015ull}) {
            std::string text;
            vaxo_GetErrorString(code, collectText, &text);
            std::printf("   0x%010llx  %-28s %s\n", static_cast<unsigned long long>(code), errorName(code).c_str(),
                        text.c_str());
        }
        return 0;
    });

    s.close();
    std::printf("\n== demo finished (%d step%s not completed)\n", step.failed, step.failed == 1 ? "" : "s");
    return 0;
}

namespace {
void setup(CLI::App& app, Commands& cmds) {
    auto* sub = app.add_subcommand("demo", "walk through a session against the embedded simulated controller");
    cmds.add(sub, [](Session& s) {
        if (!s.embedded()) {
            // The demo writes memory and moves axes: never on a real machine by accident.
            std::fprintf(stderr, "vaxo demo runs against the embedded simulated controller only (drop --host)\n");
            return 2;
        }
        return runDemo(s);
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);

} // namespace vaxo::tool
