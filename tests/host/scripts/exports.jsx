// The external object itself: methods from the library's list, arguments converted, error codes as exceptions.
var library = new ExternalObject("lib:" + new File(app.path + "/" +
	(app.path.fsName.indexOf("\\") >= 0 ? "MorvaneESDLL_x64R.dll" : "libMorvaneESDLL_x64R.so")).fsName);

function thrownBy(work) {
	try {
		work();
		return "nothing";
	} catch (error) {
		return error.message;
	}
}

$.writeln(library.version);
// expect: 7
$.writeln(library.mrvGetLogMessageQueueSize() >= 0, " ", typeof library.mrvGetScript());
// expect: true undefined
$.writeln(thrownBy(function () { library.mrvGetScript(1); }));
// expect: mrvGetScript: wrong number of arguments
$.writeln(thrownBy(function () { library.mrvReportScriptCompleted("a", "b", "c"); }));
// expect: mrvReportScriptCompleted: wrong number of arguments
$.writeln(thrownBy(function () { library.mrvTimeslice("ignored", 2); }));
// expect: nothing
$.writeln(thrownBy(function () { library.mrvRegisterLocalHostName(17); library.mrvRelayHostMessage(undefined, true); }));
// expect: nothing
$.writeln(typeof library.nosuch, " ", typeof library.ESInitialize);
// expect: undefined undefined
library.unload();
$.writeln(thrownBy(function () { library.mrvTimeslice(); }));
// expect: the external object is unloaded
$.writeln(Morvane.evalAndWait("'still here'"));
// expect: still here
app.quit();
