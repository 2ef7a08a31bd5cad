// A coordinator in a host ends and starts again, under the same and another name, and answers each time.
var round;
$.writeln(Morvane.isStarted(), " ", Morvane.evalAndWait("sysInfo().coordinatorName", 20000));
// expect: true net.morvane.coordinator.hostlife
for (round = 0; round < 3; round++) {
	Morvane.eval("1", function (error) { $.writeln(error); }, 20000);
	Morvane.shutdown();
	Morvane.shutdown();
	Morvane.init(round === 1 ? "other" : "hostlife");
	Morvane.init("ignored");
	$.writeln(Morvane.evalAndWait("typeof left + ' ' + sysInfo().coordinatorName", 20000));
	Morvane.evalAndWait("left = 1", 20000);
}
// expect: the coordinator was shut down
// expect: undefined net.morvane.coordinator.hostlife
// expect: the coordinator was shut down
// expect: undefined net.morvane.coordinator.other
// expect: the coordinator was shut down
// expect: undefined net.morvane.coordinator.hostlife
Morvane.shutdown();
try {
	Morvane.init("not-a-name");
} catch (error) {
	$.writeln(/could not start/.test(error.message), " ", Morvane.isStarted());
}
// expect: true false
$.writeln(Morvane.eval("1"));
// expect: false
Morvane.init("hostlife");
$.writeln(Morvane.evalAndWait("6 * 7"));
// expect: 42
// Without an idle task the host has nothing left to do and ends by itself.
