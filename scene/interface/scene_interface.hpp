// What is behind the pointers of the C interface.
#pragma once

#include <memory>

#include <earshot/scene.h>

#include "scene/description/scene.hpp"

struct earshot_scene {
    // Streams share it.
    std::shared_ptr<const earshot_scenes::scene> content;
};
