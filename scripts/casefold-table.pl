#!/usr/bin/env perl
# Writes language/CaseFoldTable.cpp: Unicode simple case folding (the "C"
# and "S" mappings of CaseFolding.txt) as ranges, taken from the Unicode
# database that comes with Perl. Run again to move to a newer Unicode:
#   perl scripts/casefold-table.pl > language/CaseFoldTable.cpp
use strict;
use warnings;
use Unicode::UCD qw(prop_invmap);

my ($list, $map, $format, $default) = prop_invmap('Simple_Case_Folding');
die "unexpected format $format\n" unless $format eq 'a';
my @pairs;
for my $i (0 .. $#$list) {
    my $start = $list->[$i];
    my $end = $i < $#$list ? $list->[$i + 1] - 1 : 0x10FFFF;
    my $m = $map->[$i];
    next if $m eq $default;
    for my $cp ($start .. $end) {
        my $to = $m + ($cp - $start);
        push @pairs, [$cp, $to] if $to != $cp;
    }
}

# Runs of code points with the same distance to their folding, every code
# point (stride 1) or every second one (stride 2, upper and lower case
# alternating).
my @ranges;
for my $p (@pairs) {
    my ($cp, $to) = @$p;
    my $delta = $to - $cp;
    if (@ranges) {
        my $r = $ranges[-1];
        if ($r->{delta} == $delta) {
            my $step = $cp - $r->{last};
            if (($r->{first} == $r->{last} && ($step == 1 || $step == 2)) || $step == $r->{stride}) {
                $r->{stride} = $step;
                $r->{last} = $cp;
                next;
            }
        }
    }
    push @ranges, { first => $cp, last => $cp, stride => 1, delta => $delta };
}

my $version = Unicode::UCD::UnicodeVersion();
print <<"HEAD";
// Unicode $version simple case folding, written by scripts/casefold-table.pl.
// Do not edit: run the script again.
#include "language/CaseFoldTable.h"

namespace Language {

const CASE_FOLD_RANGE g_aCaseFoldRanges[] = {
HEAD
for my $r (@ranges) {
    printf "    {0x%05X, 0x%05X, %d, %d},\n", $r->{first}, $r->{last}, $r->{stride}, $r->{delta};
}
print <<"TAIL";
};

const size_t g_uiCaseFoldRangeCount = sizeof(g_aCaseFoldRanges) / sizeof(g_aCaseFoldRanges[0]);

} // namespace Language
TAIL
