#include "sim/ConsoleState.h"

#include <cstdint>

namespace corvane::sim {

namespace {

struct Colour {
    float red;
    float green;
    float blue;
};

constexpr Colour drums{0.85F, 0.25F, 0.2F};
constexpr Colour percussion{0.9F, 0.55F, 0.15F};
constexpr Colour bass{0.55F, 0.3F, 0.8F};
constexpr Colour guitars{0.2F, 0.65F, 0.3F};
constexpr Colour keys{0.15F, 0.6F, 0.8F};
constexpr Colour brass{0.95F, 0.8F, 0.2F};
constexpr Colour voices{0.9F, 0.4F, 0.65F};
constexpr Colour audience{0.5F, 0.5F, 0.5F};

struct Line {
    const char *name;
    bool stereo;
    Colour colour;
};

constexpr Line lines[] = {
    {"Bombo In", false, drums},
    {"Bombo Out", false, drums},
    {"Caja Top", false, drums},
    {"Caja Bottom", false, drums},
    {"Hi-Hat", false, drums},
    {"Tom 1", false, drums},
    {"Tom 2", false, drums},
    {"Overheads", true, drums},
    {"Congas", true, percussion},
    {"Timbal & Cencerro", false, percussion},
    {"Bajo DI", false, bass},
    {"Bajo Mic", false, bass},
    {"Guitarra Acústica", false, guitars},
    {"GTR Eléctrica L/R", true, guitars},
    {"Piano", true, keys},
    {"Synth <Pads>", true, keys},
    {"Trompeta", false, brass},
    {"Trombón", false, brass},
    {"Saxo", false, brass},
    {"Voz Principal", false, voices},
    {"Coro Ana", false, voices},
    {"Coro Íñigo", false, voices},
    {"FX Return", true, keys},
    {"Público", true, audience},
};

} // namespace

ConsoleState bandOnStage() {
    ConsoleState state;
    std::int32_t input = 0;
    std::int32_t number = 1;
    for (const auto &line : lines) {
        state.channels.emplace_back(line.name, line.stereo, "SoundGrid", input, "Mixer_Ch", number,
                                    line.colour.red, line.colour.green, line.colour.blue);
        input += line.stereo ? 2 : 1;
        ++number;
    }
    state.scenes = {"Prueba de sonido", "Intro",        "Corazón de Neón", "Bolero Azul",
                    "Night Train",      "Presentación", "Cumbia del Río",  "Encore"};
    state.scene = state.scenes.front();
    return state;
}

} // namespace corvane::sim
