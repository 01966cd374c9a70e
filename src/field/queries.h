// Queries about the field. Each writes its outputs and returns 0, or -1 as stated. Caller holds frame_rendering_mutex.
#pragma once

#include <cstdint>

/// The frame clock, in timer ticks.
int qf_elapsed_time(uint64_t& t);
/// Live slots without stones and the like. Doughnuts and zombies count.
int qf_n_turtle(int& n);
/// Live slots that can move: neither objects nor zombies; robots count.
int qf_n_moving_obj(int& n);
/// 1 when card k is shown, 0 when not. Card 53 can be placed but not queried. @return 0; -1 unless 1 <= k <= 52
int qf_stat_card(int k, int& shown);
/// Stored place of card k, hidden or not. @return 0; -1 unless 1 <= k <= 52
int qf_pos_card(int k, double& x, double& y);
