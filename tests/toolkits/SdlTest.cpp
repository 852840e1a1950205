// SPDX-License-Identifier: BSD-3-Clause
#include "toolkits/OurDrawing.h"

#define SDL_MAIN_HANDLED
#include <SDL.h>

using namespace Veltrand;

// SDL's renderer draws through the context that the library adopts, and remembers the state that it has set.
TEST(SdlRenderer, SharesItsContextWithTheLibrary) {
    SDL_SetMainReady();
    SDL_SetHint(SDL_HINT_RENDER_DRIVER, "opengl");
    ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
    SDL_Window* const window =
        SDL_CreateWindow("window", 0, 0, 64, 64, SDL_WINDOW_OPENGL | SDL_WINDOW_BORDERLESS);
    SDL_Renderer* const renderer = SDL_CreateRenderer(window, -1, SDL_RENDERER_ACCELERATED);
    ASSERT_TRUE(renderer) << SDL_GetError();
    const auto drawRow = [renderer](int y) {
        const SDL_Rect row{0, y, 48, 16};
        SDL_SetRenderDrawColor(renderer, 255, 0, 0, 255);
        SDL_RenderFillRect(renderer, &row);
        SDL_RenderFlush(renderer);
    };
    SDL_RenderClear(renderer);
    drawRow(0); // SDL counts rows from the top
    GL::init(GL::ContextGLX::adoptCurrent());
    for (int frame = 0; frame < 2; ++frame) {
        Testing::drawOurs(64, 64);
        drawRow(32);
        EXPECT_EQ(Testing::pixel(8, 56) + Testing::pixel(40, 56) + Testing::pixel(40, 24), "f0000ff00");
        SDL_RenderPresent(renderer);
        drawRow(0);
    }
    GL::deinit();
    drawRow(16);
    EXPECT_EQ(Testing::pixel(40, 40), "f00");
    SDL_DestroyRenderer(renderer);
    SDL_DestroyWindow(window);
    SDL_Quit();
}
