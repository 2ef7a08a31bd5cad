// a counting loop over variables of the script itself
var i = 0;
var sum = 0;
while (i < 2000000) {
	sum = sum + i;
	i = i + 1;
}
print('' + sum);
