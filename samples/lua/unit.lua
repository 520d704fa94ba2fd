-- A unit's settings, as an artist would keep them: plain values, a list and a nested table.
name = "walker"
health = 250
speed = 4.5
selectable = true
weapons = { "cannon", "mortar" }
footprint = { x = 3, z = 2, ["blocked cells"] = { 1, 4 } }
team_colours = { [1] = "red", [2] = "blue", [4] = "green" }
