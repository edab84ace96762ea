// SPDX-License-Identifier: GPL-3.0-or-later
// The sample picture: pumpkins on an autumn meadow, a lake and mountains behind it.
//
// Everything in it is made here, so the picture can go wherever the program goes. Lengths are
// metres; the camera stands at the origin and looks along +z. Its angle is that of a lens whose
// focal length equals the picture's width, which is what the program assumes of every photograph.
#version 3.7;
global_settings { assumed_gamma 1.0 max_trace_level 8 }

#declare Eye = 1.55;
#declare WaterLevel = -0.75;
#declare R = seed(2207);

#macro Between(A, B) (A + (B - A) * rand(R)) #end

camera {
    location <0, Eye, 0>
    right x * 4 / 3
    angle degrees(2 * atan(0.5))
    look_at <0, Eye - 0.62, 8>
}

// ---- light: a low sun from the left behind the camera, and the sky's blue without shadows ----

light_source {
    <-900, 620, -420>
    rgb <1.0, 0.86, 0.66> * 1.95
    area_light x * 26, y * 26, 4, 4 adaptive 1 jitter
}
light_source { <200, 900, -300> rgb <0.42, 0.52, 0.70> * 0.52 shadowless }
light_source { <900, 200, 300> rgb <0.60, 0.52, 0.50> * 0.16 shadowless }

// ---- sky and haze ----

sky_sphere {
    pigment {
        gradient y
        color_map {
            [0.00 rgb <0.86, 0.80, 0.72>]
            [0.06 rgb <0.74, 0.79, 0.84>]
            [0.25 rgb <0.36, 0.55, 0.80>]
            [0.60 rgb <0.14, 0.32, 0.64>]
        }
    }
    pigment {
        wrinkles turbulence 0.45 octaves 6 lambda 2.2 omega 0.52
        color_map {
            [0.00 rgbt <1, 0.97, 0.93, 0.10>]
            [0.30 rgbt <1, 0.97, 0.94, 0.50>]
            [0.52 rgbt <1, 1, 1, 1>]
        }
        scale <0.62, 0.115, 0.5> rotate z * -4 translate <0.31, 0.02, 0.2>
    }
}

fog {
    fog_type 2 distance 900 rgb <0.56, 0.66, 0.80>
    fog_offset 0 fog_alt 110 up y
}

// ---- meadow ----

#declare Noise = function { pattern { bumps } }
#declare Share = function(a) { max(0, min(1, a)) }
#declare Step = function(a) { Share(a) * Share(a) * (3 - 2 * Share(a)) }
#declare Shore = function(x) { 41 + 5 * sin(x * 0.11) + 2 * sin(x * 0.31 + 1) }
#declare Ground = function(x, z) {
    (Noise(x / 7, 3.3, z / 7) - 0.5) * 0.42 * Step((z - 2) / 8)
    + (Noise(x / 1.3, 7.1, z / 1.3) - 0.5) * 0.05
    + 1.1 * Step((abs(x) - 7) / 26) * Step((z - 8) / 18)
    - 2.2 * Step((z - Shore(x) + 9) / 14)
}
#declare PathCentre = function(z) { -0.55 - 0.10 * z + 1.15 * sin(z * 0.21 - 0.5) * Step(z / 14) }
#declare PathMask = function(x, z) {
    1 - Step((abs(x - PathCentre(z) + (Noise(x * 1.7, 1, z * 1.7) - 0.5) * 0.4) - 0.42) / 0.30)
}

#declare Meadow = pigment {
    average
    pigment_map {
        [1 bumps scale 0.16 color_map {
            [0.25 rgb <0.17, 0.20, 0.045>] [0.75 rgb <0.38, 0.36, 0.085>] }]
        [1 bumps scale 3.1 color_map {
            [0.25 rgb <0.20, 0.25, 0.05>] [0.80 rgb <0.46, 0.38, 0.10>] }]
    }
}
#declare Sand = pigment {
    bumps scale 0.05
    color_map { [0.2 rgb <0.42, 0.31, 0.20>] [0.8 rgb <0.62, 0.49, 0.34>] }
}

height_field {
    function 1400, 1400 { 0.5 + Ground((x - 0.5) * 90, (1 - y) * 70) / 10 }
    smooth
    translate <-0.5, -0.5, 0>
    scale <90, 10, 70>
    pigment {
        function { PathMask(x, z) }
        pigment_map { [0.0 Meadow] [1.0 Sand] }
    }
    finish { ambient 0 diffuse 0.85 }
}

// Blades of grass, dense near the camera and thinner with the distance.
#macro Blade(X, Z, Size)
    #local Foot = <X, Ground(X, Z) - 0.01, Z>;
    #local Turn = Between(0, 360);
    #local Bend = Between(0.2, 0.9) * Size;
    #local Side = vrotate(x * Between(0.004, 0.008) * (1 + Z / 9), y * Turn);
    #local Lean = vrotate(z * Bend, y * Turn);
    triangle { Foot - Side, Foot + Side, Foot + Lean * 0.35 + y * Size * 0.6 }
    triangle { Foot + Side * 0.8, Foot + Lean * 0.35 + y * Size * 0.6, Foot + Lean + y * Size * 0.95 }
#end

#macro Blades(Count, Colour)
    mesh {
        #local I = 0;
        #while (I < Count)
            #local Z = 2.2 + 24 * pow(rand(R), 2.1);
            #local X = Between(-0.62, 0.62) * (Z + 1.2);
            #if (PathMask(X, Z) < 0.25 + 0.3 * rand(R))
                Blade(X, Z, Between(0.05, 0.135))
            #end
            #local I = I + 1;
        #end
        pigment { rgb Colour }
        finish { ambient 0 diffuse 0.9 }
    }
#end

Blades(26000, <0.26, 0.34, 0.06>)
Blades(22000, <0.38, 0.40, 0.09>)
Blades(16000, <0.58, 0.47, 0.17>)

// ---- lake ----

plane {
    y, WaterLevel
    pigment { rgb <0.03, 0.07, 0.09> }
    normal { bumps 0.05 scale <2.2, 1, 0.5> }
    finish { ambient 0 diffuse 0.25 reflection { 0.25, 0.92 fresnel } conserve_energy specular 0.2 }
    interior { ior 1.33 }
}

// ---- hills and mountains beyond the lake ----

#declare Ridge = function(a) { (1 - abs(2 * a - 1)) * (1 - abs(2 * a - 1)) }
#declare Range = function(x, z) {
    0.56 * Ridge(Noise(x * 3.1, 0.7, z * 3.1))
    + 0.25 * Ridge(Noise(x * 6.7 + 4, 2.7, z * 6.7))
    + 0.12 * Ridge(Noise(x * 14.3, 5.7, z * 14.3))
    + 0.06 * Noise(x * 31, 8.7, z * 31)
    + 0.03 * Noise(x * 67, 9.7, z * 67)
}

#declare Hills = function(x, z) {
    16 * Step((z - 118) / 110) * (0.35 + 1.0 * Noise(x / 60, 4.4, z / 60)) + 3.2 * Step((z - 112) / 12) - 3
}
height_field {
    function 700, 400 { 0.5 + Hills((x - 0.5) * 700, 105 + (1 - y) * 260) / 100 }
    smooth
    translate <-0.5, -0.5, 0>
    scale <700, 100, 260>
    translate z * 105
    pigment {
        bumps scale 9
        color_map { [0.3 rgb <0.16, 0.20, 0.06>] [0.7 rgb <0.40, 0.31, 0.09>] }
    }
    finish { ambient 0 diffuse 0.8 }
}

#macro Mountains(Distance, Height, Width, Deep, Shift, Foot)
    height_field {
        function 900, 500 {
            Step(y * 3.2) * Step((1 - y) * 1.9) * Range(x * 1.5 + Shift, y * 0.9 + Shift)
        }
        smooth
        translate x * -0.5
        scale <Width, Height, Deep>
        translate <0, Foot, Distance>
        texture {
            pigment {
                slope { y, 0.0, 1.0 altitude y, Foot + Height * 0.30, Foot + Height * 0.95 }
                color_map {
                    [0.00 rgb <0.16, 0.16, 0.15>]
                    [0.62 rgb <0.20, 0.21, 0.22>]
                    [0.71 rgb <0.74, 0.77, 0.83>]
                    [1.00 rgb <0.80, 0.83, 0.88>]
                }
            }
            finish { ambient 0 diffuse 0.9 }
        }
    }
#end

Mountains(520, 185, 1900, 620, 0.35, -30)
Mountains(1250, 500, 4200, 1300, 2.62, -70)

// ---- trees ----

#macro Fir(Height, Spread, Shade)
    union {
        cone { 0, Height * 0.022, y * Height, 0.002 pigment { rgb <0.20, 0.12, 0.07> } }
        #local Layers = 15;
        #local L = 0;
        #while (L < Layers)
            #local T = L / (Layers - 1);
            #local Count = 17 - int(9 * T);
            #local Reach = Spread * (1 - T) * (0.92 + 0.16 * rand(R)) + 0.04 * Spread;
            #local I = 0;
            #while (I < Count)
                #local Tip = vrotate(<Reach * Between(0.82, 1.1), -Reach * Between(0.35, 0.5), 0>,
                                     y * (360 * I / Count + 31 * L + Between(-9, 9)));
                cone {
                    y * Height * (0.10 + 0.88 * T) + Tip * 0.03, Reach * 0.30 + 0.01
                    y * Height * (0.10 + 0.88 * T) + Tip, 0.004
                    pigment { rgb Shade * (0.70 + 0.45 * rand(R)) }
                }
                #local I = I + 1;
            #end
            #local L = L + 1;
        #end
        finish { ambient 0 diffuse 0.85 }
    }
#end

#macro Plant(Tree, X, Z, Scale) object { Tree scale Scale translate <X, Ground(X, Z) - 0.05, Z> } #end

#declare DarkFir = Fir(5, 1.25, <0.055, 0.125, 0.055>);
#declare BlueFir = Fir(5, 1.45, <0.060, 0.140, 0.105>);
#declare Larch = Fir(5, 1.20, <0.50, 0.27, 0.040>);

Plant(BlueFir, 4.9, 11.6, 0.98)
Plant(Larch, 7.4, 15.5, 0.92)
Plant(DarkFir, 6.0, 20, 1.05)
Plant(DarkFir, 10.2, 19, 1.25)
Plant(BlueFir, 9.8, 26, 1.0)
Plant(Larch, 12.8, 27, 1.1)
Plant(DarkFir, 8.4, 33, 1.0)
Plant(DarkFir, 16.5, 33, 1.3)
Plant(Larch, 2.3, 25, 0.52)
Plant(Larch, -12.3, 23, 1.15)
Plant(DarkFir, -9.6, 26, 1.2)
Plant(BlueFir, -14.6, 30, 1.3)
Plant(DarkFir, -18.0, 33, 1.2)
Plant(Larch, -17.5, 38, 0.9)

// The far shore's forest: plain cones, for they are a few pixels wide.
#local I = 0;
#while (I < 1500)
    #local Z = 119 + 150 * pow(rand(R), 1.5);
    #local X = Between(-0.72, 0.72) * (Z + 20);
    #local Tall = Between(3.2, 7.5);
    #local Autumn = rand(R);
    cone {
        <X, Hills(X, Z) - 0.3, Z>, Tall * 0.20, <X, Hills(X, Z) + Tall, Z>, 0
        pigment {
            #if (Autumn < 0.62) rgb <0.06, 0.12, 0.05> * Between(0.7, 1.3)
            #else rgb <0.44, 0.23, 0.04> * Between(0.6, 1.2) #end
        }
        finish { ambient 0 diffuse 0.8 }
    }
    #local I = I + 1;
#end

// ---- boat house by the lake ----

#declare RedWood = texture {
    pigment {
        gradient x
        color_map { [0.00 rgb <0.20, 0.03, 0.02>] [0.10 rgb <0.50, 0.075, 0.05>] [1.0 rgb <0.46, 0.065, 0.04>] }
        scale 0.22
    }
    finish { ambient 0 diffuse 0.85 }
}
#declare White = texture { pigment { rgb 0.82 } finish { ambient 0 diffuse 0.85 } }

#macro Window(P)
    union {
        box { <-0.46, -0.55, -0.05>, <0.46, 0.55, 0.02> texture { White } }
        box { <-0.36, -0.45, -0.07>, <-0.04, 0.45, 0> pigment { rgb <0.05, 0.07, 0.10> } finish { specular 0.4 reflection 0.25 } }
        box { <0.04, -0.45, -0.07>, <0.36, 0.45, 0> pigment { rgb <0.05, 0.07, 0.10> } finish { specular 0.4 reflection 0.25 } }
        translate P
    }
#end

union {
    prism { linear_sweep linear_spline 0, 5.6, 6, <-2.3, -0.5>, <2.3, -0.5>, <2.3, 2.5>, <0, 4.35>, <-2.3, 2.5>, <-2.3, -0.5>
        rotate x * -90 scale <1, 1, -1> texture { RedWood } }
    union {
        box { <0, 0, -0.45>, <3.45, 0.14, 6.05> rotate z * -38.9 translate <0, 4.42, 0> }
        box { <-3.45, 0, -0.45>, <0, 0.14, 6.05> rotate z * 38.9 translate <0, 4.42, 0> }
        pigment { gradient z color_map { [0 rgb <0.10, 0.085, 0.08>] [0.15 rgb <0.20, 0.17, 0.155>] [1 rgb <0.17, 0.145, 0.135>] } scale 0.35 }
        finish { ambient 0 diffuse 0.85 }
    }
    box { <-0.55, -0.4, -0.06>, <0.55, 1.75, 0.03> texture { White } }
    box { <-0.43, -0.4, -0.09>, <0.43, 1.63, 0> pigment { rgb <0.09, 0.14, 0.13> } finish { ambient 0 diffuse 0.8 } }
    Window(<-1.5, 1.15, 0>)
    Window(<1.5, 1.15, 0>)
    object { Window(0) scale 0.72 translate <0, 2.95, 0> }
    box { <-2.36, -0.5, -0.05>, <-2.2, 2.5, 0.1> texture { White } }
    box { <2.2, -0.5, -0.05>, <2.36, 2.5, 0.1> texture { White } }
    box { <1.0, 3, 3.6>, <1.7, 5.3, 4.3> pigment { rgb <0.32, 0.20, 0.15> } finish { ambient 0 diffuse 0.85 } }
    rotate y * 14
    translate <-6.6, Ground(-6.6, 24) + 0.30, 24>
}

// ---- pumpkins and stones in the foreground ----

#macro Pumpkin(Radius, Flat, Colour)
    union {
        #local Ribs = 11;
        #local I = 0;
        #while (I < Ribs)
            sphere {
                0, 1
                scale <0.62, 0.98 * Flat, 0.40> * Radius
                translate x * Radius * 0.47
                rotate y * (360 * I / Ribs)
                pigment {
                    gradient y
                    color_map { [0.0 rgb Colour * 0.72] [1.0 rgb Colour * Between(0.98, 1.1)] }
                    scale Radius * 2 translate -y * Radius
                }
            }
            #local I = I + 1;
        #end
        sphere_sweep {
            cubic_spline 5
            y * Radius * Flat * 0.4, Radius * 0.15
            y * Radius * Flat * 0.72, Radius * 0.12
            <0.03, Flat + 0.06, 0> * Radius, Radius * 0.075
            <0.17, Flat + 0.28, 0.03> * Radius, Radius * 0.075
            <0.33, Flat + 0.34, 0.03> * Radius, Radius * 0.085
            tolerance 0.001
            pigment { rgb <0.24, 0.25, 0.08> }
        }
        finish { ambient 0 diffuse 0.82 specular 0.22 roughness 0.03 }
    }
#end

#macro Lay(Thing, X, Z, Up, Turn)
    object { Thing rotate <Between(-6, 6), Turn, Between(-6, 6)> translate <X, Ground(X, Z) + Up, Z> }
#end

Lay(Pumpkin(0.46, 0.80, <0.88, 0.30, 0.030>), 0.62, 4.55, 0.33, 20)
Lay(Pumpkin(0.34, 0.90, <0.92, 0.42, 0.045>), 1.42, 4.95, 0.27, 100)
Lay(Pumpkin(0.27, 0.74, <0.80, 0.22, 0.025>), 1.12, 3.98, 0.17, 220)
Lay(Pumpkin(0.30, 0.82, <0.90, 0.62, 0.20>), -1.75, 5.4, 0.22, 60)
Lay(Pumpkin(0.40, 0.78, <0.86, 0.33, 0.030>), 3.4, 8.6, 0.28, 140)

#macro Stone(Size)
    isosurface {
        function { x * x + y * y * 2.1 + z * z * 1.2 - 0.62 + 0.42 * Noise(x * 1.9, y * 1.9, z * 1.9) + 0.06 * Noise(x * 9, y * 9, z * 9) }
        contained_by { sphere { 0, 1.2 } }
        max_gradient 5
        scale Size
        pigment { bumps scale 0.06 color_map { [0.2 rgb <0.30, 0.29, 0.28>] [0.8 rgb <0.52, 0.50, 0.47>] } }
        finish { ambient 0 diffuse 0.85 }
    }
#end
Lay(Stone(0.62), -2.62, 6.3, 0.10, 30)
Lay(Stone(0.36), -2.0, 6.9, 0.05, 130)
Lay(Stone(0.40), 4.6, 9.2, 0.05, 240)
