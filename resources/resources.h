#pragma once

// Makes the pictures and the style sheet reachable under ":/". They live in a static library, whose
// resources nobody registers unless asked; to be called once, before the first of them is used.
void initResources();
