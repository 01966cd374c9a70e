#include "field/wall_map.h"

#include <cmath>

namespace {

constexpr int MAP_SIDE = 16;         // cells along each axis
constexpr double MAP_CELL = 32.0;    // field units
constexpr double MAP_EDGE = 256.0;   // the grid covers -256 to 256 on both axes
constexpr double HALF_MAX = 16.0;    // half the length of the longest wall that has a cell, field units
constexpr double SLACK = 1e-3;       // field units: far above what rounding shifts, far below a cell
constexpr double PLACE_MAX = 1000.0; // field units from the centre: places farther out are not looked up

// A list of walls, linked by next_wall; -1 ends it.
using chain_t = int16_t;
using chains_t = std::array<std::array<chain_t, MAP_SIDE>, MAP_SIDE>; // [column][row], by the wall's middle

chains_t level_walls;   // both ends at the same y, facing up or down
chains_t upright_walls; // both ends at the same x, facing left or right
chain_t other_walls;    // slanting, long, or beyond the grid: part of every list
std::array<int16_t, WALL_MAX> next_wall;
int n_in_cells; // walls that are not in other_walls; none without a maze

void empty_wall_map() {
    n_in_cells = 0;
    for (auto& column : level_walls) column.fill(-1);
    for (auto& column : upright_walls) column.fill(-1);
    other_walls = -1;
}

void link_wall(chain_t& chain, int wall) {
    next_wall[wall] = chain;
    chain = static_cast<chain_t>(wall);
}

// Column or row of a coordinate, clamped to the grid; finite.
int cell_of(double coordinate) {
    const double cell = (MAP_EDGE + coordinate) / MAP_CELL;
    if (cell <= 0.0) return 0;
    if (cell >= MAP_SIDE) return MAP_SIDE - 1;
    return static_cast<int>(cell);
}

// Columns or rows, both ends included.
struct cells_t {
    int first, last;
};

cells_t cells_around(double coordinate, double reach) {
    return {cell_of(coordinate - reach - SLACK), cell_of(coordinate + reach + SLACK)};
}

constexpr cells_t ALL_CELLS{0, MAP_SIDE - 1};

void append(wall_list_t& list, int wall) {
    if (list.count < list.index.size()) list.index[list.count++] = static_cast<int16_t>(wall);
}

void append_chain(wall_list_t& list, chain_t chain) {
    for (int wall = chain; wall >= 0; wall = next_wall[wall]) append(list, wall);
}

void append_cells(wall_list_t& list, const chains_t& chains, cells_t columns, cells_t rows) {
    if (n_in_cells == 0) return;
    for (int column = columns.first; column <= columns.last; ++column) {
        for (int row = rows.first; row <= rows.last; ++row) append_chain(list, chains[column][row]);
    }
}

void append_all(wall_list_t& list) {
    for (int wall = 0; wall < nwall; ++wall) append(list, wall);
}

bool is_in_grid(double x, double y) { return std::fabs(x) <= MAP_EDGE && std::fabs(y) <= MAP_EDGE; }

// False for NaN.
bool can_be_looked_up(double x, double y, double reach) {
    return std::fabs(x) <= PLACE_MAX && std::fabs(y) <= PLACE_MAX && reach >= 0.0 && reach <= PLACE_MAX;
}

void enter_into_map(int wall) {
    const wall_t& w = walls[wall];
    const double x = (w.x1 + w.x2) / 2.0;
    const double y = (w.y1 + w.y2) / 2.0;
    const bool has_cell =
        is_in_grid(x, y) && std::fabs(w.x2 - w.x1) <= 2.0 * HALF_MAX && std::fabs(w.y2 - w.y1) <= 2.0 * HALF_MAX;
    if (has_cell && w.y1 == w.y2 && w.nx == 0.0 && std::fabs(w.ny) > 0.0) {
        link_wall(level_walls[cell_of(x)][cell_of(y)], wall);
    } else if (has_cell && w.x1 == w.x2 && w.ny == 0.0 && std::fabs(w.nx) > 0.0) {
        link_wall(upright_walls[cell_of(x)][cell_of(y)], wall);
    } else {
        link_wall(other_walls, wall);
        return;
    }
    ++n_in_cells;
}

} // namespace

void setup_wall(uint32_t attr, double x1, double y1, double x2, double y2, double nx, double ny) {
    if (nwall >= WALL_MAX) return;
    if (nwall == 0) empty_wall_map();
    walls[nwall] = {.x1 = x1, .y1 = y1, .x2 = x2, .y2 = y2, .nx = nx, .ny = ny, .attr = attr};
    enter_into_map(nwall);
    ++nwall;
}

void list_walls_near(wall_list_t& list, double x, double y, double reach) {
    if (nwall == 0) return;
    if (!can_be_looked_up(x, y, reach)) {
        append_all(list);
        return;
    }
    const cells_t columns = cells_around(x, reach);
    const cells_t rows = cells_around(y, reach);
    append_cells(list, level_walls, cells_around(x, reach + HALF_MAX), rows);
    append_cells(list, upright_walls, columns, cells_around(y, reach + HALF_MAX));
    append_chain(list, other_walls); // last: they are seldom the nearest
}

void list_walls_in_line(wall_list_t& list, double x, double y, double aside) {
    if (nwall == 0) return;
    if (!can_be_looked_up(x, y, aside)) {
        append_all(list);
        return;
    }
    if (n_in_cells == 0 && list.count == static_cast<size_t>(nwall)) return; // all of them are listed already
    append_cells(list, level_walls, ALL_CELLS, cells_around(y, aside));
    append_cells(list, upright_walls, cells_around(x, aside), ALL_CELLS);
    append_chain(list, other_walls);
}
