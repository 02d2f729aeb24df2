;;; A supply system drawn by picks in a new project, the way a designer draws it: a main, ten
;;; branches landing mid-duct so that the main splits under each, a run at another elevation
;;; filleted to the main with a riser, and a break. Then every duct and row is checked against
;;; the other, the elevations at every junction, and the drawing through a save and reopen.
;;; Exit 1 when a result is wrong.

(setq failures 0)
(defun check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq failures (1+ failures))))
  ok)

(setq file (projectdb-currentFile))
(defun column (ix name) (car (kvdb-query file (strcat "SELECT " name " FROM tblDuct WHERE ixDuct = " (itoa ix)))))
(defun pick (p) (strcat "point " (rtos (car p) 2 3) "," (rtos (cadr p) 2 3)))
(defun draw-run (points) (apply 'kvhost-input (append (mapcar 'pick points) '("enter"))) (c:kv_hvac-drawDucts))
(defun ix-of (e) (cdr (assoc 90 (entget e))))
(defun p10 (e) (cdr (assoc 10 (entget e))))
(defun p11 (e) (cdr (assoc 11 (entget e))))
(defun plan= (a b) (and (equal (car a) (car b) 1e-6) (equal (cadr a) (cadr b) 1e-6)))
(defun vertical (e) (plan= (p10 e) (p11 e)))

(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 30.0) ("DEPTH" 14.0) ("Z1" 120.0) ("AIRFLOW" "sa")))
(setq main (draw-run '((0 0) (100 0) (200 0) (300 0) (400 0) (500 0) (600 0) (700 0) (800 0) (900 0) (1000 0))))
(check "ten legs of main" (= 10 (length main)))

;; Branches land in the middle of each main leg and run out in two legs, alternately up and down.
(setq i 0 branches nil)
(while (< i 10)
  (setq x (+ 50 (* 100 i)) dir (if (= 0 (rem i 2)) 1 -1))
  (setq branches (append branches (draw-run (list (list x 0) (list x (* dir 150)) (list (+ x 30) (* dir 300))))))
  (setq i (1+ i)))
(check "twenty branch legs" (= 20 (length branches)))
(check "every main leg split" (= 40 (length (ssgetx-duct))))

;; A run at 96 beside the end of the main, filleted to it: the main reaches the corner, the run
;; starts there, and a riser joins 120 to 96.
(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 20.0) ("DEPTH" 12.0) ("Z1" 96.0) ("AIRFLOW" "sa")))
(setq lowrun (draw-run '((1200 100) (1200 300) (1400 300))))
(kvhost-input (pick '(980 0)) (pick '(1200 250)))
(check "fillet" (c:kv_hvac-filletDucts))
(setq risers (vl-remove-if-not 'vertical (ssgetx-duct)))
(check "one riser" (= 1 (length risers)))
(check "from 120 down to 96 at the corner"
  (and risers (equal (p10 (car risers)) '(1200.0 0.0 120.0) 1e-9) (equal (p11 (car risers)) '(1200.0 0.0 96.0) 1e-9)))

;; A break in the low run.
(setq e (duct-atPick '(1300 300)))
(check "break" (> (kvbreak e '(1300 300 96)) 0))
(setq ducts (ssgetx-duct))
(check "at least thirty ducts" (>= (length ducts) 30))

;; Every duct has its row; every row of the project has its duct.
(setq indices (mapcar 'ix-of ducts))
(check "every duct has its row" (vl-every '(lambda (ix) (column ix "ixDuct")) indices))
(check "every row has its duct"
  (vl-every '(lambda (ix) (member ix indices)) (kvdb-query file "SELECT ixDuct FROM tblDuct")))
(check "one duct to a row" (= (length indices) (length (kvdb-query file "SELECT ixDuct FROM tblDuct"))))

;; The pieces a split made upstream carry the main's row.
(setq i 0)
(while (< i 10)
  (setq piece (vl-remove-if-not '(lambda (e) (and (plan= (p10 e) (list (* 100 i) 0)) (plan= (p11 e) (list (+ 50 (* 100 i)) 0))))
                                ducts))
  (check (strcat "split piece " (itoa i))
    (and (= 1 (length piece)) (= (column (ix-of (car piece)) "WIDTH") 30.0)
         (= (column (ix-of (car piece)) "DEPTH") 14.0) (= (column (ix-of (car piece)) "AIRFLOW") "sa")))
  (setq i (1+ i)))

;; Elevations agree where one flat duct's end meets another's start; a riser's ends meet the
;; ducts above and below it.
(setq junctions 0)
(foreach a ducts
  (foreach b ducts
    (if (and (not (eq a b)) (not (vertical a)) (not (vertical b)) (plan= (p11 a) (p10 b))
             (not (vl-some '(lambda (r) (plan= (p10 r) (p10 b))) risers)))
      (progn (setq junctions (1+ junctions))
             (check "junction elevation" (equal (caddr (p11 a)) (caddr (p10 b)) 1e-9))))))
(check "junctions were found" (> junctions 30))
(foreach r risers
  (check "riser top meets an end" (vl-some '(lambda (e) (equal (p11 e) (p10 r) 1e-9)) ducts))
  (check "riser bottom meets a start" (vl-some '(lambda (e) (equal (p10 e) (p11 r) 1e-9)) ducts)))

;; Plotted, saved and reopened with the same ducts.
(setq here (kvhost-current))
(check "plot" (kvhost-plot (strcat (vl-filename-directory here) "/supply.png") 1600))
(setq before (vl-sort (mapcar '(lambda (e) (list (ix-of e) (p10 e) (p11 e))) ducts) '(lambda (a b) (< (car a) (car b)))))
;; This script runs in the drawing, which cannot close under it: a copy saved beside it is the
;; one reopened.
(setq copy (strcat (vl-filename-directory here) "/reopened.dwg"))
(check "save" (kvhost-save-as copy))
;; Saved once more under another name, so that the copy is no longer the drawing in memory.
(check "save again elsewhere" (kvhost-save-as (strcat (vl-filename-directory here) "/working.dwg")))
(check "reopen" (and (kvhost-open copy) (= (kvhost-current) copy) (= 2 (length (kvhost-documents)))))
(setq after (vl-sort (mapcar '(lambda (e) (list (ix-of e) (p10 e) (p11 e))) (ssgetx-duct)) '(lambda (a b) (< (car a) (car b)))))
(check "the same ducts after reopening" (equal before after 1e-9))

(if (> failures 0) (exit 1))
(princ "\nduct system: all checks passed")
