#!/usr/bin/perl
# Asks every simulated scanner for three objects, by Net::SNMP, and prints the seconds that it took.
# Usage: net_snmp.pl at_once|in_turn SCANNERS OBJECT...
use strict;
use warnings;
use Net::SNMP;
use Time::HiRes qw(clock_gettime CLOCK_MONOTONIC);

my ($mode, $scanners, @objects) = @ARGV;
my @hosts = map { my $last = 100 + $_; '10.77.' . int($last / 256) . '.' . $last % 256 } 1 .. $scanners;
my $answers = 0;

sub begin {
    my ($host) = @_;
    my ($session, $error) = Net::SNMP->session(
        -hostname => $host, -version => 'snmpv1', -community => 'public', -timeout => 3,
        -retries => 0, -nonblocking => $mode eq 'at_once');
    die "net_snmp.pl: $host: $error\n" unless defined $session;
    return $session;
}

# One question after the other to the same scanner, the scanners side by side.
sub ask {
    my ($session, $number) = @_;
    return if $number == @objects;
    my $done = sub {
        my ($answered) = @_;
        ++$answers if defined $answered->var_bind_list();
        ask($session, $number + 1);
    };
    $session->get_request(-varbindlist => [$objects[$number]], -callback => $done);
}

my $begin = clock_gettime(CLOCK_MONOTONIC);
if ($mode eq 'at_once') {
    ask(begin($_), 0) for @hosts;
    Net::SNMP::snmp_dispatcher();
} else {
    for my $host (@hosts) {
        my $session = begin($host);
        defined $session->get_request(-varbindlist => [$_]) and ++$answers for @objects;
        $session->close();
    }
}
my $end = clock_gettime(CLOCK_MONOTONIC);
die "net_snmp.pl: $answers answers\n" unless $answers == @hosts * @objects;
printf "{\"seconds\": %.9f}\n", $end - $begin;
