% What Octave's subspace identification makes of a recording, on loads that it has not seen.
%   octave-cli n4sid.m FOLDER ORDER
% reads powers.txt, readings.txt (degrees above the ambient, one row a second) and unseen.txt (powers), and writes
% predicted.txt.
pkg load control
[folder, order] = argv(){:};
powers = load(fullfile(folder, "powers.txt"));
readings = load(fullfile(folder, "readings.txt"));
unseen = load(fullfile(folder, "unseen.txt"));
system = n4sid(iddata(readings, powers, 1), str2double(order));
predicted = lsim(system, unseen, (0:rows(unseen) - 1)');
save("-ascii", fullfile(folder, "predicted.txt"), "predicted");
