-- calls with three arguments
function pick(a, b, c)
	return (a * b) - c
end
function run(n)
	local i, sum = 0, 0
	while i < n do
		sum = sum + pick(i, 3, sum)
		i = i + 1
	end
	return sum
end
print(run(2500000))
